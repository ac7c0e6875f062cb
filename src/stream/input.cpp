#include "stream/input.h"

#include <algorithm>

namespace vask {

bool Input::Open(int32_t rate) {
  rate_ = rate;
  resamples_ = rate != kSampleRate;
  return !resamples_ || resampler_.Open(rate, kSampleRate);
}

void Input::Close() {
  if (resamples_) resampler_.Close();
}

void Input::Clear() {
  if (resamples_) resampler_.Clear();
  count_ = 0;
  taken_ = 0;
}

size_t Input::Take(std::span<const int16_t> samples) {
  size_t taken = 0;
  for (;;) {
    const std::span<int16_t> rest = std::span(frame_).subspan(static_cast<size_t>(count_));
    if (resamples_) count_ += static_cast<int32_t>(resampler_.Give(rest));
    if (is_full() || taken == samples.size()) break;
    const std::span<const int16_t> left = samples.subspan(taken);
    if (resamples_) {
      taken += resampler_.Take(left);
      continue;
    }
    const size_t count = std::min(left.size(), rest.size());
    std::copy_n(left.begin(), count, rest.begin());
    count_ += static_cast<int32_t>(count);
    taken += count;
  }
  taken_ += static_cast<int64_t>(taken);
  return taken;
}

std::array<int16_t, kFrame> Input::TakeFrame(bool is_end) {
  const std::span<int16_t> rest = std::span(frame_).subspan(static_cast<size_t>(count_));
  const size_t given = is_end && resamples_ ? resampler_.GiveRest(rest) : 0;
  std::fill(rest.begin() + static_cast<std::ptrdiff_t>(given), rest.end(), int16_t{0});
  count_ = 0;
  return frame_;
}

int64_t Input::Position(int64_t at) const {
  return at < 0 || !resamples_ ? at : std::min(at * rate_ / kSampleRate, taken_);
}

}  // namespace vask
