#include "dsp/power_spectrum.h"

#include "dsp/arith.h"

namespace vask {

void PowerSpectrum(std::span<int64_t> x, int32_t shift) {
  const auto square = [&](size_t i) {
    const int64_t value = x[i] >> shift;
    return WrapMul(value, value);
  };
  const size_t n = x.size();
  x[0] = MaxIfNegative(square(0));
  for (size_t k = 1; k < n / 2; ++k) x[k] = MaxIfNegative(WrapAdd(square(k), square(n - k)));
  x[n / 2] = MaxIfNegative(square(n / 2));
}

}  // namespace vask
