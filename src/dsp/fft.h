// The one Fourier transform of the library, and its twiddle factors.
#pragma once

#include <vask/dsp.h>

#include <cstdint>
#include <span>

#include "dsp/sizes.h"

namespace vask {

inline constexpr int32_t kLargestFftOrder = kFftOrder;  // as far as the twiddle tables reach
inline constexpr int32_t kRootOfTwoQ30 = 1518500249;

// In-place real FFT of x.size() = 2^order points; x packed afterwards as Re X(0 .. n/2), Im X(n/2-1 .. 1).
void RealFft(std::span<int64_t> x, int32_t order, const fft_tables& twiddles);

// Cut the slots of all stages up to 2^order points from the built-in tables; false if there is no memory
// (nothing is kept then).
bool BuildTwiddles(fft_tables& twiddles, int32_t order);
void ReleaseTwiddles(fft_tables& twiddles, int32_t order);

}  // namespace vask
