// Convolution of a frame with the impulse response. int16 samples in and out, taps Q30.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// 2 * half + 1 taps. Sample j < 0 is past[n + j]. No saturation: the low 16 bits are the sample.
void Convolve(const int16_t* now, const int16_t* past, const int32_t* impulse, std::span<int16_t> out,
              int32_t half);

}  // namespace vask
