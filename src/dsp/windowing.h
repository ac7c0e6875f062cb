// Samples under a window of the analysis, with zeros after them.
#pragma once

#include <cstdint>
#include <span>

#include "dsp/fft_512.h"

namespace vask {

// out[i] = sample * window (Q30) >> 20; 0 beyond the window.
void ApplyWindow(const int16_t* samples, std::span<const int32_t> window_q30, std::span<int64_t> out);

// The same in 32 bits, enough for int16 samples and a window of at most 1.
void WindowQ10(const int16_t* samples, std::span<const int32_t> window_q30, Samples512& out);

}  // namespace vask
