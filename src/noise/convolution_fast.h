// The convolution of a frame that follows its past in one array, with 32-bit products.
//
// With a tap h = high * 2^16 + low, low the unsigned lower half,
//   floor(h * s / 2^30) = floor((high * s + floor(low * s / 2^16)) / 2^14),
// and for a 16-bit sample s each of these products and their sum fit 32 bits. Sums wrap, so the taps can be
// taken in any order; those that are 0 are skipped.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// out[i] = sum of impulse[half + t] * now[i - t]; now[-n] .. now[n - 1 + half] must be readable, n =
// out.size().
void ConvolveAdjacent(const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half);

}  // namespace vask
