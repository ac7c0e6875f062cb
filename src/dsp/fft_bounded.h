// The transform of input whose values and sums stay small, which is all that the engine transforms.
//
// Every intermediate value is a sum of the input with factors of magnitude 1 or less, so it is bounded by
// the sum of the input's magnitudes plus a few units of rounding per stage. While that sum is below 2^32
// nothing exceeds 2^33: additions cannot overflow, and a product with a Q30 factor and the division's shift
// by 30 fit 64 bits.
#pragma once

#include <cstdint>
#include <span>

#include "dsp/fft.h"

namespace vask {

bool IsBounded(std::span<const int64_t> x);
void RealFftBounded(std::span<int64_t> x, int32_t order, const fft_tables& twiddles);

}  // namespace vask
