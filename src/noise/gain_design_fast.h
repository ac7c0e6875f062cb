// The gains of bins whose SNR is moderate, in double precision, which holds every whole number on the way.
//
// With amplitudes below 2^31 and SNRs below 2^33 (8192 in Q20) nothing in the plain form wraps or is limited,
// every product stays below 2^53, and quotients of whole numbers below 2^53 come out exact (dsp/divide.h).
// The quotient whose numerator is larger has another form: x * 2^30 / (x + 2^20) = 2^30 - ceil(2^50 / (x +
// 2^20)).
#pragma once

#include <cstdint>

namespace vask {

inline constexpr int32_t kGainBlock = 8;  // bins

// True if these bins are moderate; noise is 1 or more.
bool AreModerate(const int64_t* mean, const int64_t* noise, const int64_t* cleaned);

// BinGainQ30 of each of them. Assumes round-to-nearest. The second form is for every processor.
void BlockGainsQ30(const int64_t* mean, const int64_t* noise, const int64_t* cleaned, int32_t* gain_q30);
void BlockGainsPortableQ30(const int64_t* mean, const int64_t* noise, const int64_t* cleaned,
                           int32_t* gain_q30);

}  // namespace vask
