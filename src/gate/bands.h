// Log-mel energies of a frame: 40 triangles between 50 Hz and 8 kHz over the power spectrum.
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kLogBands = 40;
using LogBands = std::array<int16_t, kLogBands>;  // log2 of amplitudes, Q8, 0 or more

// `power`: bins of 31.25 Hz, without a fixed Q (they scale with the input).
void TakeLogBands(std::span<const int64_t> power, LogBands& bands);

}  // namespace vask
