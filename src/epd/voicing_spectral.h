// Voicing features of the frame's power spectrum: band ratio, tonality, spectral entropy.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kTonalityBands = 32;
inline constexpr int32_t kEntropyBands = 64;

// Mean power above 4 kHz over mean power of 281 Hz .. 4 kHz: Q16.
int32_t HighToLowRatio(std::span<const int32_t> power);

// -10/60 ln(flatness) over `bands` band means: Q16, 0 (flat) to 65536. `work`: bands values.
int32_t BandTonality(std::span<const int32_t> power, int32_t bands, int32_t* work);

// Sum of weight * p ln p over the bands' shares of power: Q16, 0 or less. The weight of a band is the
// variance of its neighbourhood.
int32_t WeightedBandEntropy(std::span<const int32_t> power, int32_t bands, int32_t* band, int32_t* weight);

}  // namespace vask
