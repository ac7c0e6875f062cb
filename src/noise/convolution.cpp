#include "noise/convolution.h"

#include "dsp/arith.h"

namespace vask {

void Convolve(const int16_t* now, const int16_t* past, const int32_t* impulse, std::span<int16_t> out,
              int32_t half) {
  const auto n = static_cast<int32_t>(out.size());
  for (int32_t i = 0; i < n; ++i) {
    int32_t sum = 0;
    for (int32_t t = -half; t <= half; ++t) {
      const int32_t at = i - t;
      const int32_t sample = at >= 0 ? now[at] : past[n + at];
      sum = WrapAdd(sum, Low32(MulShift<30>(impulse[half + t], sample)));
    }
    out[static_cast<size_t>(i)] = Low16(sum);
  }
}

}  // namespace vask
