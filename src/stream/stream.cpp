// A stream: cuts the written samples into frames, runs an engine of its own, and turns what that emits and
// decides into audio and events on the input's time line. In: int16 samples, 16 kHz. Out: the outbox.
#include <vask/stream.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>

#include "dsp/float_mode.h"
#include "dsp/memory.h"
#include "engine/lifecycle.h"
#include "engine/pipeline.h"
#include "engine/record.h"
#include "epd/endpoint_tracker.h"
#include "stream/history.h"
#include "stream/level.h"
#include "stream/options.h"
#include "stream/outbox.h"
#include "stream/segment.h"

namespace vask {
namespace {

// How far the engine lags the frame being fed, in frames.
constexpr int64_t kNoiseDelay = 2;                      // the noise reduction looks two frames ahead
constexpr int64_t kDetectorDelay = kNoiseDelay + 1;     // the detector's window begins a frame before that
constexpr int64_t kDeliveryDelay = kDetectorDelay + 2;  // speech is delivered

constexpr int64_t kFramesInFlight = 128;  // margin before a start, delays and flush, with room to spare

// The most that one frame emits: the margin before a start and what has arrived since.
constexpr int64_t kMostOut = 48 * kFrame;

// Silence after the input: frames in flight come out, and a word that ends with the input is still found.
constexpr int32_t kFlushContinuous = 2;  // frames
constexpr int32_t kFlushUtterances = 14;

constexpr int64_t kNoEnd = INT64_MAX;

}  // namespace
}  // namespace vask

struct vask_stream {
  vask_stream_options options;
  epd_engine engine;
  vask::History history;
  vask::Segment segment;
  vask::Outbox outbox;
  int16_t pending[vask::kFrame];  // written and not yet a frame
  int32_t pending_count;
  int32_t flush_frames;  // of silence that have been fed after the input
  int64_t frames;        // fed
  int64_t origin;        // the first frame that the engine heard since its last wrap-up
  int64_t input_end;     // positions; kNoEnd until the input ends
  int64_t continuous;    // samples emitted in continuous mode
  bool is_over;
};

namespace vask {
namespace {

using SampleFrame = std::array<int16_t, kFrame>;

// --- what the engine says, on the input's time line

const energy_epd_prm& DetectorOf(const vask_stream& s) { return s.engine.epd; }

SegmentContext ContextOf(vask_stream& s) {
  const int64_t heard = std::min((s.frames + 1) * kFrame, s.input_end);
  return {s.options, s.history, s.outbox, heard, s.input_end};
}

// The frame that the detector's newest values belong to: its window begins there.
int64_t DetectorFrame(const vask_stream& s) { return s.origin + DetectorOf(s).frame_index - 1; }

// One past the last frame of speech if the hangover ends with the newest frame.
int64_t FrameAfterSpeech(const vask_stream& s) {
  return DetectorFrame(s) + 1 - s.options.profile.hangover_frames - kEndLag;
}

// The same if the hangover is still running.
int64_t FrameAfterSpeechSoFar(const vask_stream& s) {
  const energy_vad_prm& vad = DetectorOf(s).vad;
  if (vad.speech_run > 0) return DetectorFrame(s) + 1;
  return FrameAfterSpeech(s) + vad.hangover_count + 1;
}

void NoteDetector(vask_stream& s) {
  const energy_epd_prm& epd = DetectorOf(s);
  if (epd.frame_index < 1) return;
  FrameNote& note = s.history.Note(DetectorFrame(s));
  note.log_energy = epd.vad.log_energy;
  note.is_voiced = epd.uv.uv_smoothed == 1;
  note.is_voiced_raw = epd.uv.uv_raw == 1;
  note.is_tone = note.is_voiced_raw && epd.uv.tonality >= s.options.tone_tonality;
}

// --- one frame

// Run the engine on a copy of the frame, which it clips.
Step RunEngine(vask_stream& s, SampleFrame frame) {
  const bool had_started = s.engine.started != 0;
  const Step step = ProcessFrame({.state = s.engine, .tells_restarts = false}, frame);
  if (!had_started) s.origin = s.frames;
  return step;
}

void EmitContinuous(vask_stream& s, const Step& step) {
  // The engine drops all-zero silence before its first sound.
  const bool is_leading_silence = s.engine.started == 0;
  const int64_t wanted = is_leading_silence ? kFrame : static_cast<int64_t>(step.emitted.size());
  const int64_t count = std::min(wanted, s.input_end - s.continuous);
  s.continuous += count;
  if (s.options.audio == VASK_STREAM_NO_AUDIO) return;
  if (is_leading_silence) {
    s.outbox.PushSilence(count);
  } else if (count > 0) {
    const bool is_raw = s.options.audio == VASK_STREAM_RAW;
    const auto samples = is_raw ? s.history.Samples(s.frames - kNoiseDelay) : step.emitted;
    s.outbox.Push(samples.first(static_cast<size_t>(count)));
  }
}

// The engine emits whole frames, the last of them the frame of kDeliveryDelay frames ago.
void Deliver(vask_stream& s, std::span<const int16_t> emitted) {
  const SegmentContext context = ContextOf(s);
  int64_t frame = s.frames - kDeliveryDelay + 1 - static_cast<int64_t>(emitted.size()) / kFrame;
  if (!emitted.empty() && !s.segment.is_open()) {
    s.segment.Start(context, s.origin + DetectorOf(s).start_frame, frame);
  }
  for (; !emitted.empty(); emitted = emitted.subspan(kFrame), ++frame) {
    const bool is_raw = s.options.audio == VASK_STREAM_RAW;
    s.segment.Deliver(context, is_raw ? s.history.Samples(frame) : emitted.first(kFrame));
  }
}

// The engine has decided on the segment and starts again with the frame in which it decided, since that may
// be speech again.
void EndSegment(vask_stream& s, int32_t result, const SampleFrame& frame) {
  const bool is_forced = DetectorOf(s).vad.silence_run == 0;
  s.segment.End(ContextOf(s), is_forced ? FrameAfterSpeechSoFar(s) : FrameAfterSpeech(s),
                is_forced ? VASK_STREAM_BY_LONG_NOISE : VASK_STREAM_BY_SILENCE, result == kEnded);
  WrapUp(s.engine);
  RunEngine(s, frame);
}

void RunFrame(vask_stream& s, const SampleFrame& frame) {
  s.history.Enter(s.frames, frame);
  const Step step = RunEngine(s, frame);
  if (s.options.mode == VASK_STREAM_CONTINUOUS) {
    EmitContinuous(s, step);
  } else {
    NoteDetector(s);
    Deliver(s, step.emitted);
    if (step.result == kGoOn) {
      s.segment.GoesOnUntil(ContextOf(s), FrameAfterSpeech(s) + 1);
    } else {
      EndSegment(s, step.result, frame);
    }
  }
  ++s.frames;
}

// --- what the caller does

int32_t ErrorOf(Outbox::Room room) {
  if (room == Outbox::Room::kThere) return 0;
  return room == Outbox::Room::kFull ? VASK_STREAM_FULL : VASK_STREAM_NO_MEMORY;
}

// Run the pending samples, padded with silence if they are not a whole frame, as the next frame. 0, or an
// error, and then nothing has happened.
int32_t RunPending(vask_stream& s) {
  const int32_t error = ErrorOf(s.outbox.Reserve(kMostOut));
  if (error != 0) return error;
  SampleFrame frame = {};
  std::copy_n(s.pending, s.pending_count, frame.begin());
  s.pending_count = 0;
  RunFrame(s, frame);
  return 0;
}

int32_t Write(vask_stream& s, std::span<const int16_t> samples) {
  if (s.input_end != kNoEnd) return VASK_STREAM_OVER;
  size_t taken = 0;
  for (;;) {
    if (s.pending_count == kFrame) {
      const int32_t error = RunPending(s);
      if (error != 0) return taken > 0 ? static_cast<int32_t>(taken) : error;
    }
    if (taken == samples.size()) return static_cast<int32_t>(taken);
    const size_t count = std::min(samples.size() - taken, static_cast<size_t>(kFrame - s.pending_count));
    std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(taken), count, s.pending + s.pending_count);
    s.pending_count += static_cast<int32_t>(count);
    taken += count;
  }
}

int32_t Flush(vask_stream& s) {
  if (s.is_over) return 0;
  if (s.input_end == kNoEnd) s.input_end = s.frames * kFrame + s.pending_count;
  if (s.pending_count > 0) {
    const int32_t error = RunPending(s);
    if (error != 0) return error;
  }
  const bool is_continuous = s.options.mode == VASK_STREAM_CONTINUOUS;
  for (; s.flush_frames < (is_continuous ? kFlushContinuous : kFlushUtterances); ++s.flush_frames) {
    const int32_t error = RunPending(s);
    if (error != 0) return error;
  }
  const int32_t error = ErrorOf(s.outbox.Reserve(0));
  if (error != 0) return error;
  const int64_t end = std::min(FrameAfterSpeechSoFar(s), (s.input_end + kFrame - 1) / kFrame);
  s.segment.EndWithInput(ContextOf(s), end);
  s.is_over = true;
  return 0;
}

vask_stream_measures MeasuresOf(const vask_stream& s) {
  const energy_epd_prm& epd = DetectorOf(s);
  const bool has_detector = epd.frame_index > 0;
  const int64_t energy = s.frames > 0 ? s.history.Note(s.frames - 1).energy : 0;
  return {.heard = std::min(s.frames * kFrame, s.input_end),
          .detector_at = has_detector ? DetectorFrame(s) * kFrame : -1,
          .level_db = LevelDb(energy, kFrame),
          .energy_db = has_detector ? UnitsToDb(epd.vad.log_energy) : 0.0f,
          .noise_db = has_detector ? UnitsToDb(epd.vad.noise_level) : 0.0f,
          .speech = epd.vad.vad_flag,
          .voiced = epd.uv.uv_smoothed,
          .open = s.segment.is_open() ? 1 : 0};
}

void Reset(vask_stream& s) {
  WrapUp(s.engine);
  s.segment.Clear();
  s.outbox.Clear();
  s.pending_count = s.flush_frames = 0;
  s.frames = s.origin = s.continuous = 0;
  s.input_end = kNoEnd;
  s.is_over = false;
}

void CloseStream(vask_stream& s) {
  ReleaseEngine(s.engine);
  s.history.Close();
  s.outbox.Close();
}

bool OpenStream(vask_stream& s, const vask_stream_options& options) {
  s.options = options;
  s.options.profile = ProfileInForce(options.profile);
  if (s.options.queue_samples == 0) s.options.queue_samples = DefaultOptions().queue_samples;
  const int64_t notes = options.profile.hangover_frames + Segment::kSplitWindow + kFramesInFlight;
  const bool has_notes = s.history.Open(static_cast<int32_t>(notes));
  const bool has_outbox = s.outbox.Open(s.options.queue_samples, options.mode == VASK_STREAM_UTTERANCES);
  if (!has_notes || !has_outbox) return false;
  if (!CreateEngine(s.engine, options.mode, s.options.profile)) return false;
  Reset(s);
  return true;
}

}  // namespace
}  // namespace vask

extern "C" {

vask_stream* vask_stream_open(const vask_stream_options* options) {
  const vask::DefaultFloatMode float_mode;
  const vask_stream_options chosen = options != nullptr ? *options : vask::DefaultOptions();
  if (vask::ComplaintAbout(chosen) != nullptr) return nullptr;
  void* storage = std::malloc(sizeof(vask_stream));
  if (storage == nullptr) return nullptr;
  auto* stream = new (storage) vask_stream{};
  if (vask::OpenStream(*stream, chosen)) return stream;
  vask_stream_close(stream);
  return nullptr;
}

int32_t vask_stream_write(vask_stream* stream, const int16_t* samples, int32_t n) {
  if (stream == nullptr || n < 0 || (samples == nullptr && n > 0)) return VASK_STREAM_BAD_ARGUMENT;
  const vask::DefaultFloatMode float_mode;
  return vask::Write(*stream, {samples, static_cast<size_t>(n)});
}

int32_t vask_stream_flush(vask_stream* stream) {
  if (stream == nullptr) return VASK_STREAM_BAD_ARGUMENT;
  const vask::DefaultFloatMode float_mode;
  return vask::Flush(*stream);
}

int32_t vask_stream_next(vask_stream* stream, vask_stream_event* event) {
  return stream != nullptr && event != nullptr && stream->outbox.Next(*event) ? 1 : 0;
}

int32_t vask_stream_read(vask_stream* stream, int16_t* samples, int32_t max) {
  if (stream == nullptr || samples == nullptr || max <= 0) return 0;
  return stream->outbox.Read({samples, static_cast<size_t>(max)});
}

int32_t vask_stream_available(const vask_stream* stream) {
  return stream != nullptr ? static_cast<int32_t>(stream->outbox.Available()) : 0;
}

int32_t vask_stream_measure(const vask_stream* stream, vask_stream_measures* measures) {
  if (stream == nullptr || measures == nullptr) return VASK_STREAM_BAD_ARGUMENT;
  const vask::DefaultFloatMode float_mode;
  *measures = vask::MeasuresOf(*stream);
  return 0;
}

void vask_stream_reset(vask_stream* stream) {
  if (stream != nullptr) vask::Reset(*stream);
}

void vask_stream_close(vask_stream* stream) {
  if (stream == nullptr) return;
  vask::CloseStream(*stream);
  std::free(stream);
}

}  // extern "C"
