#include "noise/convolution_fast.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "noise/convolution.h"

namespace vask {
namespace {

constexpr int32_t kBlock = 32;  // outputs whose sums stay in registers

template <int32_t kCount>
VASK_BODY void ConvolveBlock(const int16_t* now, const int32_t* impulse, int16_t* out, int32_t half) {
  uint32_t sum[static_cast<size_t>(kCount)] = {};
  for (int32_t t = -half; t <= half; ++t) {
    const int32_t high = impulse[half + t] >> 16, low = impulse[half + t] & 0xffff;
    if (high == 0 && low == 0) continue;
    const int16_t* s = now - t;
    for (int32_t i = 0; i < kCount; ++i) {
      sum[i] += static_cast<uint32_t>((high * s[i] + ((low * s[i]) >> 16)) >> 14);
    }
  }
  for (int32_t i = 0; i < kCount; ++i) out[i] = Low16(sum[i]);
}

VASK_BODY void ConvolveAdjacentBody(const int16_t* now, const int32_t* impulse, std::span<int16_t> out,
                                    int32_t half) {
  const auto n = static_cast<int32_t>(out.size());
  int32_t i = 0;
  for (; i + kBlock <= n; i += kBlock) ConvolveBlock<kBlock>(now + i, impulse, out.data() + i, half);
  for (; i < n; ++i) ConvolveBlock<1>(now + i, impulse, out.data() + i, half);
}

void ConvolveAdjacentPlain(const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half) {
  Convolve(now, now - out.size(), impulse, out, half);
}

}  // namespace

VASK_KERNEL(void, ConvolveAdjacent,
            (const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half),
            (now, impulse, out, half), ConvolveAdjacentPlain)

}  // namespace vask
