// The 512-point transform of input whose sums fit 32 bits, which is nearly all that the engine transforms.
//
// Every intermediate value is a sum of the input with factors of magnitude 1 or less, so it is bounded by
// the sum of the input's magnitudes plus a few units of rounding per stage. Where that sum stays 2^18 below
// 2^31 every value fits 32 bits, and eight values fit a 256-bit vector.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "dsp/fft.h"
#include "dsp/sizes.h"

namespace vask {

using Samples512 = std::array<int32_t, kFftSize>;
using Packed512 = std::array<int32_t, kFftSize + 8>;  // the last 8 are scratch

bool IsNarrow(const Samples512& samples);

// Needs IsNarrow. `x` packed as by RealFft.
void RealFft512(const Samples512& samples, const fft_tables& twiddles, Packed512& x);

// PowerSpectrum of the transform: bins 0 .. 256 of `x`. `shift` must be 1 or more, so that two squares fit 64
// bits.
void PowerOf512(const Packed512& transform, int32_t shift, int64_t* x);

}  // namespace vask
