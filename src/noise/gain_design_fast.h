// The gains of bins whose SNR is moderate, in double precision, which holds every integer on the way exactly.
//
// With amplitudes below 2^31 and SNRs below 2^33 (8192 in Q20) nothing in the plain form wraps or is limited,
// every product stays below 2^53, and quotients of integers below 2^53 come out exact (dsp/divide.h). The
// quotient whose numerator is larger is rewritten: x * 2^30 / (x + 2^20) = 2^30 - ceil(2^50 / (x +
// 2^20)).
#pragma once

#include <cstddef>
#include <cstdint>

#include "noise/gain_design.h"

namespace vask {

inline constexpr size_t kGainBlock = 16;  // bins

// DesignGain of bins first .. first + 15 if there are that many and all are moderate; else changes nothing
// and returns false. Assumes round-to-nearest.
bool DesignModerateBlock(const GainSpectra& spectra, int32_t keep_q30, size_t first);

}  // namespace vask
