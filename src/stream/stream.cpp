// A stream: cuts the written samples into frames and hands them to the path of its detector, which turns them
// into audio and events on the input's time line. In: int16 samples at the input's rate. Out: audio at its
// own rate, and events.
#include <vask/stream.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <span>

#include "dsp/float_mode.h"
#include "dsp/memory.h"
#include "stream/conversation.h"
#include "stream/delivery.h"
#include "stream/energy_path.h"
#include "stream/input.h"
#include "stream/learned_path.h"
#include "stream/level.h"
#include "stream/options.h"
#include "stream/setup.h"
#include "stream/timeline.h"

struct vask_stream {
  vask::Timeline line;
  vask::EnergyPath* energy;  // one of these is null
  vask::LearnedPath* learned;
  vask::Input input;
  vask::Delivery delivery;
  vask::Conversation conversation;
  vask_stream_setup setup;
  bool is_over;
};

namespace vask {
namespace {

constexpr float kMostPause = 30;  // s
constexpr double kFramesPerSecond = 100;

template <typename Stream, typename Action>
auto OnPath(Stream& s, Action action) {
  return s.learned != nullptr ? action(*s.learned) : action(*s.energy);
}

// --- input

int32_t ErrorOf(Outbox::Room room) {
  if (room == Outbox::Room::kThere) return 0;
  return room == Outbox::Room::kFull ? VASK_STREAM_FULL : VASK_STREAM_NO_MEMORY;
}

// Run the next frame. 0, or an error, and then nothing has happened.
int32_t RunFrame(vask_stream& s) {
  return OnPath(s, [&](auto& path) {
    const int32_t error = ErrorOf(s.line.outbox.Reserve(path.most_out()));
    if (error != 0) return error;
    path.Take(s.line, s.input.TakeFrame(s.line.input_end != kNoEnd));
    s.conversation.Follow(s.line, path.QuietNow(), path.NoStartBefore(s.line));
    ++s.line.frames;
    return 0;
  });
}

int32_t Write(vask_stream& s, std::span<const int16_t> samples) {
  if (s.line.input_end != kNoEnd) return VASK_STREAM_OVER;
  size_t taken = 0;
  for (;;) {
    taken += s.input.Take(samples.subspan(taken));
    if (!s.input.is_full()) return static_cast<int32_t>(taken);
    const int32_t error = RunFrame(s);
    if (error != 0) return taken > 0 ? static_cast<int32_t>(taken) : error;
  }
}

int32_t Flush(vask_stream& s) {
  if (s.is_over) return 0;
  if (s.line.input_end == kNoEnd) s.line.input_end = s.input.LengthAt(kSampleRate);
  const int64_t total = OnPath(s, [&](const auto& path) { return path.TotalFrames(s.line); });
  while (s.line.frames < total) {
    const int32_t error = RunFrame(s);
    if (error != 0) return error;
  }
  const int32_t error = ErrorOf(s.line.outbox.Reserve(0));
  if (error != 0) return error;
  OnPath(s, [&](auto& path) { path.EndInput(s.line); });
  s.is_over = true;
  return 0;
}

int32_t SetPause(vask_stream& s, float seconds) {
  if (!(seconds >= 0 && seconds <= kMostPause)) return VASK_STREAM_BAD_ARGUMENT;
  vask_stream_setup setup = s.setup;
  setup.rules.pause = seconds;
  setup.options.profile.hangover_frames =
      static_cast<int32_t>(std::lround(double{seconds} * kFramesPerSecond));
  if (ComplaintAbout(setup) != nullptr) return VASK_STREAM_BAD_ARGUMENT;
  const bool is_set = s.learned != nullptr
                          ? s.learned->SetPause(s.line, TrackerRulesOf(setup.rules).pause_steps)
                          : s.energy->SetPause(s.line, setup.options.profile.hangover_frames);
  if (!is_set) return VASK_STREAM_NO_MEMORY;
  s.setup = setup;
  return 0;
}

// --- the newest frame

vask_stream_measures MeasuresOf(const vask_stream& s) {
  const int64_t energy = s.line.frames > 0 ? s.line.history.Note(s.line.frames - 1).energy : 0;
  vask_stream_measures measures = {};
  measures.heard = std::min(s.line.frames * kFrame, s.line.input_end);
  measures.detector_at = -1;
  measures.level_db = LevelDb(energy, kFrame);
  OnPath(s, [&](const auto& path) { path.Measure(s.line, measures); });
  measures.heard = s.input.Position(measures.heard);
  measures.detector_at = s.input.Position(measures.detector_at);
  return measures;
}

// --- output

bool Next(vask_stream& s, vask_stream_event& event) {
  if (!s.line.outbox.Next(event)) return false;
  s.delivery.Follow(event, s.line.outbox);
  for (int64_t* position : {&event.start, &event.end, &event.span_start, &event.span_end, &event.heard}) {
    *position = s.input.Position(*position);
  }
  return true;
}

Emission EmissionOf(const vask_stream& s) {
  const int64_t last = s.line.input_end == kNoEnd ? kNoEnd : s.input.LengthAt(s.delivery.rate());
  return {s.line.is_continuous, s.is_over, last};
}

// --- life

void Reset(vask_stream& s) {
  OnPath(s, [](auto& path) { path.Clear(); });
  s.line.Clear();
  s.input.Clear();
  s.delivery.Clear();
  s.conversation.Clear();
  s.is_over = false;
}

// An object in storage of its own; null if there is no memory.
template <typename Object>
Object* New() {
  void* storage = std::malloc(sizeof(Object));
  return storage != nullptr ? new (storage) Object{} : nullptr;
}

template <typename Path, typename Setup>
bool OpenPath(Path*& path, Timeline& line, const Setup& setup) {
  path = New<Path>();
  return path != nullptr && path->Open(line, setup);
}

template <typename Path>
void ClosePath(Path*& path) {
  if (path == nullptr) return;
  path->Close();
  Release(path);
}

bool OpenStream(vask_stream& s, const vask_stream_setup& setup) {
  s.setup = setup;
  s.conversation.Open(setup);
  const vask_stream_options& options = setup.options;
  s.line.is_continuous = options.mode == VASK_STREAM_CONTINUOUS;
  s.line.audio = options.audio;
  const bool has_audio = options.audio != VASK_STREAM_NO_AUDIO;
  if (!s.input.Open(RateOf(setup.input_rate))) return false;
  if (!s.delivery.Open(has_audio ? RateOf(setup.audio_rate) : kSampleRate)) return false;
  const int32_t bound = options.queue_samples != 0 ? options.queue_samples : DefaultOptions().queue_samples;
  if (!s.line.outbox.Open(bound, !s.line.is_continuous, s.delivery.margin())) return false;
  const bool is_learned = setup.detector == VASK_STREAM_LEARNED;
  if (!(is_learned ? OpenPath(s.learned, s.line, setup) : OpenPath(s.energy, s.line, options))) return false;
  Reset(s);
  return true;
}

void CloseStream(vask_stream& s) {
  ClosePath(s.energy);
  ClosePath(s.learned);
  s.line.Close();
  s.input.Close();
  s.delivery.Close();
}

vask_stream* NewStream(const vask_stream_setup& setup) {
  auto* stream = New<vask_stream>();
  if (stream == nullptr || OpenStream(*stream, setup)) return stream;
  vask_stream_close(stream);
  return nullptr;
}

}  // namespace
}  // namespace vask

extern "C" {

vask_stream* vask_stream_open(const vask_stream_options* options) {
  const vask::DefaultFloatMode float_mode;
  vask_stream_setup setup = vask::DefaultSetup();
  if (options != nullptr) setup.options = *options;
  return vask::ComplaintAbout(setup.options) == nullptr ? vask::NewStream(setup) : nullptr;
}

vask_stream* vask_stream_open_setup(const vask_stream_setup* setup) {
  const vask::DefaultFloatMode float_mode;
  if (vask_stream_setup_complaint(setup) != nullptr) return nullptr;
  return vask::NewStream(vask::Completed(*setup));
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
  return stream != nullptr && event != nullptr && vask::Next(*stream, *event) ? 1 : 0;
}

int32_t vask_stream_read(vask_stream* stream, int16_t* samples, int32_t max) {
  if (stream == nullptr || samples == nullptr || max <= 0) return 0;
  return stream->delivery.Read(stream->line.outbox, vask::EmissionOf(*stream),
                               {samples, static_cast<size_t>(max)});
}

int32_t vask_stream_available(const vask_stream* stream) {
  if (stream == nullptr) return 0;
  return static_cast<int32_t>(stream->delivery.Available(stream->line.outbox, vask::EmissionOf(*stream)));
}

int32_t vask_stream_measure(const vask_stream* stream, vask_stream_measures* measures) {
  if (stream == nullptr || measures == nullptr) return VASK_STREAM_BAD_ARGUMENT;
  const vask::DefaultFloatMode float_mode;
  *measures = vask::MeasuresOf(*stream);
  return 0;
}

int32_t vask_stream_hear(const vask_stream* stream, vask_stream_hearing* hearing) {
  if (stream == nullptr || hearing == nullptr || stream->learned == nullptr) return VASK_STREAM_BAD_ARGUMENT;
  if (hearing->size != sizeof *hearing) return VASK_STREAM_BAD_ARGUMENT;
  const vask::DefaultFloatMode float_mode;
  stream->learned->Hearing(*hearing);
  hearing->at = stream->input.Position(hearing->at);
  return 0;
}

int32_t vask_stream_set_pause(vask_stream* stream, float seconds) {
  if (stream == nullptr) return VASK_STREAM_BAD_ARGUMENT;
  const vask::DefaultFloatMode float_mode;
  return vask::SetPause(*stream, seconds);
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
