#include "dsp/windowing.h"

#include <algorithm>
#include <array>

#include "dsp/arith.h"
#include "dsp/kernel.h"

namespace vask {
namespace {

void WindowQ10Plain(const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out) {
  std::array<int64_t, kFftSize> windowed;
  ApplyWindow(samples, window_q30, windowed);
  std::transform(windowed.begin(), windowed.end(), out.begin(), Low32);
}

// ApplyWindow in 32 bits: with the window's w = high * 2^16 + low, floor(s * w / 2^20) =
// floor((s * high + floor(s * low / 2^16)) / 2^4), and for a 16-bit sample every part of it fits 32 bits.
VASK_BODY void WindowQ10Body(const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out) {
  const size_t n = std::min(window_q30.size(), out.size());
  for (size_t i = 0; i < n; ++i) {
    const int32_t high = window_q30[i] >> 16, low = window_q30[i] & 0xffff;
    out[i] = (samples[i] * high + ((samples[i] * low) >> 16)) >> 4;
  }
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(n), out.end(), 0);
}

}  // namespace

void ApplyWindow(const int16_t* samples, std::span<const int32_t> window_q30, std::span<int64_t> out) {
  const size_t n = std::min(window_q30.size(), out.size());
  for (size_t i = 0; i < n; ++i) out[i] = MulShift<20>(int32_t{samples[i]}, window_q30[i]);
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(n), out.end(), 0);
}

VASK_KERNEL(void, WindowQ10, (const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out),
            (samples, window_q30, out), WindowQ10Plain)

}  // namespace vask
