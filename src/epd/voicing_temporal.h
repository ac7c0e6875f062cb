// Voicing features of the analysis window's samples: clipper, zero crossings, YIN, AMDF, autocorrelation.
// Samples << 16 (Q31 of the 16-bit value) make the upper half of a product an exact 16 x 16 bit product.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kMinLag = 32;      // samples: 500 Hz
inline constexpr int32_t kMaxLag = 267;     // samples: about 60 Hz
inline constexpr int32_t kMostLags = 1024;  // no feature looks further back

struct Lags {
  int32_t first, last;
};

// 0.46 of the largest magnitude among the first and the last 80 samples.
int32_t ClippingLevel(std::span<const int16_t> s);

// Signs of the samples beyond +-level into `out`; returns the level changes at least three steps apart.
int32_t CenterClip(std::span<const int16_t> s, int16_t* out, int32_t level);

// Sign changes; `signs` is scratch of s.size() elements.
int32_t ZeroCrossings(std::span<const int16_t> s, int16_t* signs);

// 1 - minimum of the cumulative-mean-normalised difference function: Q16, 0 to 65536.
int32_t YinVoicing(std::span<const int32_t> x, Lags lags);

// Minimum of the average magnitude difference, >> 3.
int32_t AmdfMinimum(std::span<const int32_t> x, Lags lags);

// Correlation coefficient of every lag, r[lag] in Q30, of magnitudes a.
void NormalizedAutocorrelation(std::span<const int32_t> a, int32_t* r, Lags lags);

// One coefficient from its sums: Q30.
int32_t CorrelationCoefficient(int32_t products, int32_t energy_lag, int32_t energy);

// Largest over smallest coefficient of |x|: Q16.
int32_t PeakValleyRatio(std::span<const int32_t> x, Lags lags);
int32_t PeakValleyRatio(int32_t peak, int32_t valley);

}  // namespace vask
