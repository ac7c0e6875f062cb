#include "stream/delivery.h"

#include <algorithm>
#include <array>

#include "dsp/sizes.h"

namespace vask {
namespace {

constexpr int32_t kBlock = 256;  // samples of the output that are converted at once
constexpr int32_t kMostSteps = kSampleRate / 8000;
constexpr int32_t kMostTaps = 160;

}  // namespace

void Delivery::Follow(const vask_stream_event& event, const Outbox& outbox) {
  if (!resamples_) return;
  if (event.kind == VASK_STREAM_STARTED) {
    // After a split that was kept the samples before the start are there, too.
    if (event.continues == 0 || segment_ != Segment::kEnded) known_ = outbox.last_audio();
    offset_ = event.span_start - outbox.last_audio();
    next_ = event.span_start * rate_ / kSampleRate;
    segment_ = Segment::kOpen;
  } else if (event.kind == VASK_STREAM_ENDED) {
    segment_ = Segment::kEnded;
  } else if (event.kind == VASK_STREAM_REJECTED) {
    segment_ = Segment::kNone;
  }
}

// One past the last sample of the output that may be taken.
int64_t Delivery::Limit(const Outbox& outbox, const Emission& emission) const {
  if (!emission.is_continuous && segment_ == Segment::kNone) return next_;
  const int64_t position = outbox.limit() + offset_;
  const bool is_whole = emission.is_continuous ? emission.is_over : segment_ == Segment::kEnded;
  return is_whole ? std::min(position * rate_ / kSampleRate, emission.last) : filter_.Ready(position);
}

int64_t Delivery::Available(const Outbox& outbox, const Emission& emission) const {
  if (!resamples_) return outbox.Available();
  return std::max(Limit(outbox, emission) - next_, int64_t{0});
}

void Delivery::ReadBlock(Outbox& outbox, std::span<int16_t> out) {
  std::array<int16_t, kBlock * kMostSteps + kMostTaps> storage;
  const auto count = static_cast<int64_t>(out.size());
  const int64_t first = filter_.First(next_);
  const int64_t end = filter_.First(next_ + count - 1) + filter_.taps();
  const std::span<int16_t> samples = std::span(storage).first(static_cast<size_t>(end - first));
  outbox.Copy(first - offset_, known_, outbox.line_end(), samples);
  filter_.Run(next_, samples.data(), out);
  next_ += count;
  const int64_t position = (next_ * kSampleRate + rate_ - 1) / rate_;
  outbox.TakeUntil(std::min(position - offset_, outbox.limit()));
}

int32_t Delivery::Read(Outbox& outbox, const Emission& emission, std::span<int16_t> out) {
  if (!resamples_) return outbox.Read(out);
  const auto count =
      static_cast<size_t>(std::min(Available(outbox, emission), static_cast<int64_t>(out.size())));
  for (size_t at = 0; at < count; at += kBlock) {
    ReadBlock(outbox, out.subspan(at, std::min<size_t>(kBlock, count - at)));
  }
  return static_cast<int32_t>(count);
}

bool Delivery::Open(int32_t rate) {
  rate_ = rate;
  resamples_ = rate != kSampleRate;
  return !resamples_ || filter_.Open(kSampleRate, rate);
}

void Delivery::Close() {
  if (resamples_) filter_.Close();
}

void Delivery::Clear() {
  segment_ = Segment::kNone;
  offset_ = known_ = next_ = 0;
}

}  // namespace vask
