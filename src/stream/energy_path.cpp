#include "stream/energy_path.h"

#include <algorithm>
#include <array>

#include "dsp/memory.h"
#include "engine/cleaning.h"
#include "engine/lifecycle.h"
#include "epd/endpoint_tracker.h"
#include "stream/level.h"
#include "stream/options.h"

namespace vask {
namespace {

// How far the engine lags the frame being fed, in frames.
constexpr int64_t kDetectorDelay = kNoiseDelay + 1;     // the detector's window begins a frame before that
constexpr int64_t kDeliveryDelay = kDetectorDelay + 2;  // speech is delivered

constexpr int64_t kFramesInFlight = 128;  // margin before a start, delays and flush, with room to spare
constexpr int64_t kSampleFrames = 64;     // the margin before a start is emitted 49 frames late

// Silence after the input: frames in flight come out, and a word that ends with the input is still found.
constexpr int32_t kFlushContinuous = 2;  // frames
constexpr int32_t kFlushUtterances = 14;

int64_t NotesFor(int32_t hangover_frames) {
  return hangover_frames + Segment::kSplitWindow + kFramesInFlight;
}

SegmentRules RulesOf(const vask_stream_options& options) {
  return {.has_audio = options.audio != VASK_STREAM_NO_AUDIO,
          .margin_start = options.pad_start,
          .margin_end = LongestPadEnd(options),
          .longest = options.max_samples,
          .shortest = options.min_samples,
          .least_voiced = options.min_voiced_frames,
          .most_tones = options.max_tone_percent,
          .least_speech = 0,
          .counts_margins = true};
}

}  // namespace

// --- what the engine says, on the input's time line

// One past the last frame of speech if the hangover ends with the newest frame.
int64_t EnergyPath::FrameAfterSpeech() const { return detector_frame_ + 1 - hangover_frames_ - kEndLag; }

// The same if the hangover is still running.
int64_t EnergyPath::FrameAfterSpeechSoFar() const {
  const energy_vad_prm& vad = detector().vad;
  if (vad.speech_run > 0) return detector_frame_ + 1;
  return FrameAfterSpeech() + vad.hangover_count + 1;
}

void EnergyPath::NoteDetector(Timeline& line) const {
  const energy_epd_prm& epd = detector();
  if (epd.frame_index < 1) return;
  FrameNote& note = line.history.Note(detector_frame_);
  note.log_energy = epd.vad.log_energy;
  note.is_voiced = epd.uv.uv_smoothed == 1;
  note.is_voiced_raw = epd.uv.uv_raw == 1;
  note.is_tone = note.is_voiced_raw && epd.uv.tonality >= options_.tone_tonality;
}

// --- one frame

// Run the engine on a copy of the frame, which it clips.
Step EnergyPath::RunEngine(const Timeline& line, std::span<const int16_t, kFrame> frame) {
  std::array<int16_t, kFrame> copy;
  std::copy(frame.begin(), frame.end(), copy.begin());
  detector_frame_ = line.frames - kDetectorDelay;
  return ProcessFrame({.state = engine_}, copy);
}

void EnergyPath::EmitContinuous(Timeline& line, const Step& step) const {
  // The engine drops all-zero silence before its first sound.
  constexpr std::array<int16_t, kFrame> kSilence = {};
  if (engine_.started == 0) {
    line.Emit(kSilence);
  } else if (!step.emitted.empty()) {
    const bool is_raw = line.audio == VASK_STREAM_RAW;
    line.Emit(is_raw ? line.history.Samples(line.frames - kNoiseDelay) : step.emitted);
  }
}

// The engine emits whole frames, the last of them the frame of kDeliveryDelay frames ago.
void EnergyPath::Deliver(Timeline& line, std::span<const int16_t> emitted) const {
  if (!line.segment.is_open()) line.rules.margin_end = margin_end_;
  const SegmentContext context = line.Context();
  int64_t frame = line.frames - kDeliveryDelay + 1 - static_cast<int64_t>(emitted.size()) / kFrame;
  if (!emitted.empty() && !line.segment.is_open()) {
    const int32_t since_start = detector().frame_index - detector().start_frame;
    line.segment.Start(context, detector_frame_ + 1 - since_start, frame);
  }
  for (; !emitted.empty(); emitted = emitted.subspan(kFrame), ++frame) {
    const bool is_raw = line.audio == VASK_STREAM_RAW;
    line.segment.Deliver(context, is_raw ? line.history.Samples(frame) : emitted.first(kFrame));
  }
}

// The engine has decided on the segment and starts again with the frame in which it decided, since that may
// be speech again.
void EnergyPath::EndSegment(Timeline& line, int32_t result, std::span<const int16_t, kFrame> frame) {
  const bool is_forced = detector().vad.silence_run == 0;
  line.segment.End(line.Context(), is_forced ? FrameAfterSpeechSoFar() : FrameAfterSpeech(),
                   is_forced ? VASK_STREAM_BY_LONG_NOISE : VASK_STREAM_BY_SILENCE, result == kEnded);
  WrapUp(engine_);
  UseHangover(options_.profile.hangover_frames);
  RunEngine(line, frame);
}

void EnergyPath::Take(Timeline& line, std::span<const int16_t, kFrame> frame) {
  line.history.Enter(line.frames, frame);
  line.history.Keep(line.frames, frame);
  const Step step = RunEngine(line, frame);
  if (detector().vad.speech_run > 0) UseHangover(options_.profile.hangover_frames);
  if (line.is_continuous) {
    EmitContinuous(line, step);
    return;
  }
  NoteDetector(line);
  Deliver(line, step.emitted);
  if (step.result == kGoOn) {
    line.segment.GoesOnUntil(line.Context(), FrameAfterSpeech() + 1);
  } else {
    EndSegment(line, step.result, frame);
  }
}

// --- the pause that ends a segment

std::optional<Quiet> EnergyPath::QuietNow() const {
  const energy_vad_prm& vad = detector().vad;
  const int64_t frames = vad.speech_run > 0 ? 0 : hangover_frames_ - vad.hangover_count;
  return Quiet{frames, FrameAfterSpeechSoFar(), hangover_frames_};
}

// A start that is on its way takes some frames until it is found.
int64_t EnergyPath::NoStartBefore(const Timeline& line) const {
  const energy_vad_prm& vad = detector().vad;
  return vad.onset_count != 0 || detector().speech_on != 0 ? 0 : line.frames + 1;
}

void EnergyPath::UseHangover(int32_t frames) {
  if (frames == hangover_frames_) return;
  epd_profile profile = options_.profile;
  profile.hangover_frames = frames;
  hangover_frames_ = frames;
  engine_.epd.profile.hangover_frames = frames;
  engine_.epd.profile.max_unvoiced_run = ProfileInForce(profile).max_unvoiced_run;
}

// A hangover that is running goes on as if the new pause had been in force from its beginning. One that is
// longer by now is in force, as long as it is, until the segment ends with the next frame or speech resumes.
// The margin of the open segment may be in the caller's hands: it gets no shorter.
bool EnergyPath::SetPause(Timeline& line, int32_t frames) {
  vask_stream_options options = options_;
  options.profile.hangover_frames = frames;
  if (!line.history.Grow(NotesFor(frames), kSampleFrames, line.frames)) return false;
  energy_vad_prm& vad = engine_.epd.vad;
  const bool is_running = detector().speech_on == 1 && vad.speech_run == 0 && vad.silence_run == 0;
  const int32_t gone = is_running ? hangover_frames_ - vad.hangover_count : 0;
  options_ = options;
  UseHangover(std::max(frames, gone));
  if (is_running) vad.hangover_count = static_cast<int16_t>(hangover_frames_ - gone);
  margin_end_ = LongestPadEnd(options);
  line.rules.margin_end = std::max(line.rules.margin_end, margin_end_);
  return true;
}

// --- the input as a whole

int64_t EnergyPath::TotalFrames(const Timeline& line) const {
  return line.InputFrames() + (line.is_continuous ? kFlushContinuous : kFlushUtterances);
}

void EnergyPath::EndInput(Timeline& line) {
  const int64_t end = std::min(FrameAfterSpeechSoFar(), line.InputFrames());
  line.segment.End(line.Context(), end, VASK_STREAM_BY_INPUT_END, line.segment.IsUtteranceUntil(end));
}

void EnergyPath::Measure(const Timeline& line, vask_stream_measures& measures) const {
  const energy_epd_prm& epd = detector();
  measures.speech = epd.vad.vad_flag;
  measures.voiced = epd.uv.uv_smoothed;
  measures.open = line.segment.is_open() ? 1 : 0;
  if (epd.frame_index < 1) return;
  measures.detector_at = detector_frame_ * kFrame;
  measures.energy_db = UnitsToDb(epd.vad.log_energy);
  measures.noise_db = UnitsToDb(epd.vad.noise_level);
}

void EnergyPath::Clear() {
  WrapUp(engine_);
  UseHangover(options_.profile.hangover_frames);
  detector_frame_ = -kDetectorDelay;
}

bool EnergyPath::Open(Timeline& line, const vask_stream_options& options) {
  line.rules = RulesOf(options);
  options_ = options;
  hangover_frames_ = options.profile.hangover_frames;
  margin_end_ = line.rules.margin_end;
  if (!line.history.Open(NotesFor(hangover_frames_), kSampleFrames)) return false;
  if (!CreateEngine(engine_, options.mode, ProfileInForce(options.profile))) return false;
  Release(engine_.spectrum_queue.data);  // which a stream does not read: nothing is copied there either
  return true;
}

void EnergyPath::Close() { ReleaseEngine(engine_); }

}  // namespace vask
