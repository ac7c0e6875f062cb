// The windows of the analysis: Hanning (noise reduction), Hamming (detector), filter window (impulse
// response).
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// Fill `dst` with the first dst.size() values of the window, Q30; beyond the window's end with 0.
void CopyHanning(std::span<int32_t> dst);  // of 400
void CopyHamming(std::span<int32_t> dst);  // of 320

// The Hanning window of dst.size() points, Q30.
void MakeFilterWindow(std::span<int32_t> dst);

}  // namespace vask
