// The 512-point transform of real samples in single precision, there and back. Only sums, differences and
// products in a fixed order, and stored factors: the same bits on every machine.
#pragma once

#include <array>
#include <cstddef>

#include "dsp/sizes.h"

namespace vask {

inline constexpr size_t kPaddedBins = 264;  // kSpectrumBins, filled up to whole vectors

// Bins 0 .. 256 apart by parts: the real ones and the imaginary ones. What follows bin 256 is 0.
struct FloatSpectrum {
  alignas(32) std::array<float, kPaddedBins> re, im;
};

using FloatSamples = std::array<float, kFftSize>;

// Sums of samples with the factors exp(-2 pi i n k / 512), not scaled.
void ForwardFft(const FloatSamples& samples, FloatSpectrum& spectrum);

// The reverse, times 256. The imaginary parts of bins 0 and 256 are ignored.
void InverseFft(const FloatSpectrum& spectrum, FloatSamples& samples);

}  // namespace vask
