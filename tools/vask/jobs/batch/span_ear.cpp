#include "jobs/batch/span_ear.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vask::command {

SpanEar::SpanEar(const HearingOptions& options, const Item& item, std::unique_ptr<Stream> stream,
                 const InputGain& gain, int32_t rate)
    : options_(options),
      item_(item),
      stream_(std::move(stream)),
      gain_(gain),
      clock_{rate, item.offset, item.offset},
      levels_(rate),
      joiner_(options.setup.joining, rate),
      finder_(*stream_, *this) {}

void SpanEar::Pass(std::span<const double> interleaved, int32_t channels) {
  levels_.Passed(interleaved, channels);
  passed_ += static_cast<int64_t>(interleaved.size()) / channels;
  clock_.end = clock_.start + static_cast<double>(passed_) / clock_.rate;
}

void SpanEar::Hear(std::span<const int16_t> samples) {
  std::array<int16_t, 4096> block;
  while (!samples.empty()) {
    const size_t n = std::min(samples.size(), block.size());
    std::copy_n(samples.begin(), n, block.begin());
    finder_.Hear(std::span(block).first(n));
    samples = samples.subspan(n);
  }
}

Findings SpanEar::Finish(int64_t frames) {
  heard_.duration = static_cast<double>(frames) / clock_.rate;
  finder_.End();
  Add(joiner_.End(clock_.end));
  return std::move(heard_);
}

void SpanEar::Arrived(std::span<int16_t> samples) {
  levels_.Heard(samples);
  gain_.Apply(samples);
}

void SpanEar::Started(const vask_stream_event& event) {
  levels_.Start(event.start);
  if (options_.clips != nullptr)
    writer_.emplace(options_.clips->Make(item_, static_cast<int>(heard_.clips.size()) + 1));
}

void SpanEar::Audio(std::span<const int16_t> samples) {
  if (writer_) writer_->Write(samples);
}

void SpanEar::Ended(const vask_stream_event& event) {
  if (writer_) {
    heard_.clips.push_back(writer_->Commit());
  }
  Keep(event);
}

void SpanEar::Rejected(const vask_stream_event& event) { Keep(event); }

void SpanEar::Keep(const vask_stream_event& event) {
  writer_.reset();
  Segment segment = SegmentOf(event, clock_);
  const SegmentLevels levels = levels_.End(event.end, event.heard);
  segment.level_db = levels.level_db;
  segment.snr_db = levels.snr_db;
  segment.clipped = levels.clipped;
  Add(joiner_.Take(segment));
}

// Widened spans stay within this one.
void SpanEar::Add(const std::vector<Segment>& segments) {
  for (Segment segment : segments) {
    segment.span_start = std::max(segment.span_start, clock_.start);
    heard_.segments.push_back(std::move(segment));
  }
}

}  // namespace vask::command
