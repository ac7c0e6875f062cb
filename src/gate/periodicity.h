// How periodic a frame is, by the length of the period: the autocorrelation of its compressed spectrum
// (powers to 1/4, up to 2 kHz), which stays high for voiced speech in noise where that of the signal does not
// (T. Tolonen and M. Karjalainen, "A computationally efficient multipitch analysis model", 2000).
#pragma once

#include <array>
#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kLagBands = 12;             // of 8 lags each, from 32 to 256 samples: 500 to 62.5 Hz
using Periodicity = std::array<int16_t, kLagBands>;  // highest correlation in each, Q12, -1 to 1

// `power`: bins of 31.25 Hz, as for the bands.
void TakePeriodicity(std::span<const int64_t> power, Periodicity& periodicity);

}  // namespace vask
