// The one Fourier transform of the library, and its twiddle factors.
#pragma once

#include <vask/dsp.h>

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kLargestFftOrder = 9;  // 512 points: as far as the twiddle tables reach
inline constexpr int32_t kRootOfTwoQ30 = 1518500249;

// In-place real FFT of x.size() = 2^order points; x packed afterwards as Re X(0 .. n/2), Im X(n/2-1 .. 1).
void RealFft(std::span<int64_t> x, int32_t order, const fft_tables& twiddles);
void RealFftFull(std::span<int64_t> x, int32_t order, const fft_tables& twiddles);  // the plain form

// The four flat tables of 120 values from which the slots of every stage are cut.
struct FlatTwiddles {
  std::span<const int32_t> cc1, ss1, cc3, ss3;
};

// Cut the slots of all stages up to 2^order points; false if storage ran out (nothing is kept then).
bool BuildTwiddles(fft_tables& twiddles, int32_t order, const FlatTwiddles& flat);
void ReleaseTwiddles(fft_tables& twiddles, int32_t order);

}  // namespace vask
