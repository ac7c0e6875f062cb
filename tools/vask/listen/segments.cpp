#include "listen/segments.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>

#include "format.h"

namespace vask::command {
namespace {

constexpr size_t kBlock = 4096;  // samples

// Passes what the stream has delivered to the sink.
class Outlet {
 public:
  Outlet(Stream& stream, SegmentSink& sink) : stream_(stream), sink_(sink) {}

  void Empty() {
    while (const auto event = stream_.Next()) {
      if (event->kind == VASK_STREAM_STARTED) {
        open_ = true;
        sink_.Started(*event);
        continue;
      }
      open_ = false;
      if (event->kind == VASK_STREAM_REJECTED) {
        sink_.Rejected(*event);
      } else {
        PassAudio();
        sink_.Ended(*event);
      }
    }
    if (open_) PassAudio();
  }

 private:
  void PassAudio() {
    std::array<int16_t, kBlock> room;
    for (;;) {
      const std::span<int16_t> samples = stream_.Read(room);
      if (samples.empty()) return;
      sink_.Audio(samples);
    }
  }

  Stream& stream_;
  SegmentSink& sink_;
  bool open_ = false;
};

}  // namespace

void FindSegments(AudioReader& reader, Stream& stream, SegmentSink& sink) {
  std::array<int16_t, kBlock> block;
  Outlet outlet(stream, sink);
  stream.Reset();
  int64_t heard = 0;
  for (size_t n = 0; (n = reader.ReadSome(block)) > 0;) {
    sink.Arrived(std::span(block).first(n));
    for (std::span<const int16_t> rest = std::span(block).first(n); !rest.empty();) {
      const int32_t taken = stream.Write(rest);
      if (taken == VASK_STREAM_NO_MEMORY) throw std::bad_alloc();
      rest = rest.subspan(static_cast<size_t>(std::max(taken, int32_t{0})));
      outlet.Empty();
    }
    heard += static_cast<int64_t>(n);
    sink.Heard(heard);
  }
  for (int32_t result = VASK_STREAM_FULL; result == VASK_STREAM_FULL;) {
    result = stream.Flush();
    if (result == VASK_STREAM_NO_MEMORY) throw std::bad_alloc();
    outlet.Empty();
  }
}

Segment SegmentOf(const vask_stream_event& event, const AudioReader& reader) {
  const double rate = reader.rate();
  const auto seconds = [&](int64_t position) {
    const double end = static_cast<double>(reader.frames_read()) / rate;
    return std::clamp(static_cast<double>(position) / kRateHz, 0.0, end);
  };
  const auto frames = [&](int64_t position) { return std::llround(seconds(position) * rate); };
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
