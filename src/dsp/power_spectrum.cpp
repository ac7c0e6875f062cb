#include "dsp/power_spectrum.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"

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

static void PowerOfWindowPlain(const Samples512& samples, int32_t shift, const fft_tables& twiddles,
                               std::span<int64_t> x) {
  std::copy(samples.begin(), samples.end(), x.begin());
  RealFft(x, kLargestFftOrder, twiddles);
  PowerSpectrum(x, shift);
}

static void PowerOfWindowByBounds(const Samples512& samples, int32_t shift, const fft_tables& twiddles,
                                  std::span<int64_t> x) {
  if (!IsNarrow(samples)) return PowerOfWindowPlain(samples, shift, twiddles, x);
  Packed512 transform;
  RealFft512(samples, twiddles, transform);  // speed only
  PowerOf512(transform, shift, x.data());
}

VASK_PICK(void, PowerOfWindow,
          (const Samples512& samples, int32_t shift, const fft_tables& twiddles, std::span<int64_t> x),
          (samples, shift, twiddles, x), PowerOfWindowPlain, PowerOfWindowByBounds, PowerOfWindowByBounds,
          PowerOfWindowByBounds)

}  // namespace vask
