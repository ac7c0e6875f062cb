#include "jobs/report/channel.h"

#include <algorithm>
#include <new>

#include "format.h"
#include "listen/segments.h"

namespace vask::command {
namespace {

using nlohmann::json;

constexpr size_t kTaken = kRateHz;  // samples that are taken at a time

Stream Open(vask_stream_setup setup, int32_t mode, int32_t audio) {
  setup.options.mode = mode;
  setup.options.audio = audio;
  Stream stream(setup);
  if (!stream) throw std::bad_alloc();
  return stream;
}

}  // namespace

Heard::Heard(const AudioReader& reader, const vask_stream_setup& setup, const Fineness& fineness,
             std::optional<Sound::Type> sound)
    : reader_(reader),
      stream_(Open(setup, VASK_STREAM_UTTERANCES, VASK_STREAM_NO_AUDIO)),
      picture_(fineness, sound),
      traces_(fineness.trace_frames) {}

void Heard::Add(std::span<const int16_t> samples) {
  picture_.Add(samples);
  while (!samples.empty()) {
    const auto frame = samples.first(std::min<size_t>(samples.size(), kFrameSamples));
    stream_.Write(frame);
    samples = samples.subspan(frame.size());
    traces_.Add(stream_.Measures(), stream_.Hearing());
    TakeEvents();
  }
}

void Heard::Finish() {
  stream_.Flush();  // with silence that is not part of the recording: it is not measured
  TakeEvents();
  picture_.Finish();
}

void Heard::WriteTo(Page& page, const std::string& suffix) const {
  picture_.WriteTo(page, "input" + suffix);
  page.AddValues("trace-level" + suffix, traces_.level());
  page.AddValues("trace-energy" + suffix, traces_.energy());
  page.AddValues("trace-noise" + suffix, traces_.noise());
  page.AddValues("trace-speech" + suffix, traces_.speech());
  page.AddValues("trace-music" + suffix, traces_.music());
  page.AddValues("trace-flags" + suffix, traces_.flags());
}

void Heard::TakeEvents() {
  while (const auto event = stream_.Next()) {
    if (event->kind == VASK_STREAM_STARTED) continue;
    const Segment segment = SegmentOf(*event, ClockOf(reader_));
    segments_.push_back({{"number", segment.rejected ? json() : json(++utterances_)},
                         {"start", segment.start},
                         {"end", segment.end},
                         {"span_start", segment.span_start},
                         {"span_end", segment.span_end},
                         {"voiced", segment.voiced},
                         {"level", event->level_db},
                         {"ended", segment.rejected ? json() : json(segment.ended)},
                         {"rejected", segment.rejected ? json(segment.reason) : json()}});
  }
}

Cleaned::Cleaned(const vask_stream_setup& setup, const Fineness& fineness, std::optional<Sound::Type> sound)
    : stream_(Open(setup, VASK_STREAM_CONTINUOUS,
                   setup.detector == VASK_STREAM_LEARNED ? VASK_STREAM_LISTENING : VASK_STREAM_CLEAN)),
      picture_(fineness, sound),
      samples_(kTaken) {}

void Cleaned::Add(std::span<const int16_t> samples) {
  while (!samples.empty()) {
    const int32_t taken = stream_.Write(samples);
    if (taken < 0) throw std::bad_alloc();
    samples = samples.subspan(static_cast<size_t>(taken));
    Take();
  }
}

void Cleaned::Finish() {
  stream_.Flush();
  Take();
  picture_.Finish();
}

void Cleaned::WriteTo(Page& page, const std::string& suffix) const {
  picture_.WriteTo(page, "output" + suffix);
}

void Cleaned::Take() {
  for (auto got = stream_.Read(samples_); !got.empty(); got = stream_.Read(samples_)) picture_.Add(got);
}

}  // namespace vask::command
