#include "listen/segments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "format.h"

namespace vask::command {
namespace {

constexpr size_t kBlock = 4096;  // samples

}  // namespace

SegmentFinder::SegmentFinder(Stream& stream, SegmentSink& sink) : stream_(stream), sink_(sink) {
  stream_.Reset();
}

void SegmentFinder::Hear(std::span<int16_t> samples) {
  sink_.Arrived(samples);
  for (std::span<const int16_t> rest = samples; !rest.empty();) {
    const int32_t taken = stream_.Write(rest);
    if (taken == VASK_STREAM_NO_MEMORY) throw std::bad_alloc();
    rest = rest.subspan(static_cast<size_t>(std::max(taken, int32_t{0})));
    Empty();
  }
  heard_ += static_cast<int64_t>(samples.size());
  sink_.Heard(heard_);
}

void SegmentFinder::End() {
  for (int32_t result = VASK_STREAM_FULL; result == VASK_STREAM_FULL;) {
    result = stream_.Flush();
    if (result == VASK_STREAM_NO_MEMORY) throw std::bad_alloc();
    Empty();
  }
}

void SegmentFinder::Empty() {
  while (const auto event = stream_.Next()) {
    if (event->kind == VASK_STREAM_STARTED) {
      is_open_ = true;
      sink_.Started(*event);
      continue;
    }
    is_open_ = false;
    if (event->kind == VASK_STREAM_REJECTED) {
      sink_.Rejected(*event);
    } else {
      PassAudio();
      sink_.Ended(*event);
    }
  }
  if (is_open_) PassAudio();
}

void SegmentFinder::PassAudio() {
  std::array<int16_t, kBlock> room;
  for (;;) {
    const std::span<int16_t> samples = stream_.Read(room);
    if (samples.empty()) return;
    sink_.Audio(samples);
  }
}

void FindSegments(AudioReader& reader, Stream& stream, SegmentSink& sink) {
  std::array<int16_t, kBlock> block;
  SegmentFinder finder(stream, sink);
  for (size_t n = 0; (n = reader.ReadSome(block)) > 0;) finder.Hear(std::span(block).first(n));
  finder.End();
}

Clock ClockOf(const AudioReader& reader) {
  return {reader.rate(), 0, static_cast<double>(reader.frames_read()) / reader.rate()};
}

Segment SegmentOf(const vask_stream_event& event, const Clock& clock) {
  const auto seconds = [&](int64_t position) {
    return std::clamp(clock.start + static_cast<double>(position) / kRateHz, clock.start, clock.end);
  };
  const auto frames = [&](int64_t position) { return std::llround(seconds(position) * clock.rate); };
  Segment segment;
  segment.rejected = event.kind == VASK_STREAM_REJECTED;
  segment.start = seconds(event.start);
  segment.end = seconds(event.end);
  segment.span_start = seconds(event.span_start);
  segment.span_end = seconds(event.span_end);
  segment.first = frames(event.span_start);
  segment.last = frames(event.span_end);
  segment.voiced = static_cast<double>(event.voiced);
  (segment.rejected ? segment.reason : segment.ended) = vask_stream_reason_name(event.reason);
  return segment;
}

}  // namespace vask::command
