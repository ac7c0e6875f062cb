#include "dsp/windowing.h"

#include <algorithm>
#include <array>

#include "dsp/arith.h"
#include "dsp/kernel.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

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

VASK_COMPILE(void, WindowQ10, (const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out),
             (samples, window_q30, out))

#if VASK_HAS_NEON
VASK_BEGIN_NEON
// The upper half of twice the product of a weight and a sample << 11 is their product / 2^20.
void WindowQ10Neon(const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out) {
  if (window_q30.size() % 8 != 0 || window_q30.size() > out.size())
    return WindowQ10Portable(samples, window_q30, out);
  const int32_t* weights = window_q30.data();
  int32_t* end = out.data();
  for (size_t i = 0; i < window_q30.size(); i += 8, end += 8) {
    const int16x8_t s = vld1q_s16(samples + i);
    vst1q_s32(end, vqdmulhq_s32(vshll_n_s16(vget_low_s16(s), 11), vld1q_s32(weights + i)));
    vst1q_s32(end + 4, vqdmulhq_s32(vshll_n_s16(vget_high_s16(s), 11), vld1q_s32(weights + i + 4)));
  }
  std::fill(end, out.data() + out.size(), 0);
}
VASK_END_NEON
#endif

}  // namespace

void ApplyWindow(const int16_t* samples, std::span<const int32_t> window_q30, std::span<int64_t> out) {
  const size_t n = std::min(window_q30.size(), out.size());
  for (size_t i = 0; i < n; ++i) out[i] = MulShift<20>(int32_t{samples[i]}, window_q30[i]);
  std::fill(out.begin() + static_cast<std::ptrdiff_t>(n), out.end(), 0);
}

VASK_PICK(void, WindowQ10, (const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out),
          (samples, window_q30, out), WindowQ10Plain, WindowQ10Portable, WindowQ10Avx2, WindowQ10Neon)

}  // namespace vask
