// The likelihood ratios of all bands, in double precision where that is exact.
//
// A band is moderate when its amplitudes are below 2^31 and both ratios to the noise are below 1024, 2^26 in
// Q16. Then nothing in the plain form wraps, every product on the way stays below 2^53, and quotients of
// integers below 2^53 come out exact (dsp/divide.h). One product is formed in two parts: with 0.98 = high *
// 2^15 + low in Q30, floor(x * 0.98 / 2^30) = floor((x * high + floor(x * low / 2^15)) / 2^15).
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// LikelihoodRatio of every band into `ratio`. Assumes round-to-nearest.
void LikelihoodRatios(std::span<int64_t> noise, std::span<const int64_t> signal, int64_t* clean,
                      int64_t* ratio);

}  // namespace vask
