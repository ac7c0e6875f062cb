// The three features that look at every pitch lag of a window - YIN voicing, AMDF minimum, peak-to-valley
// ratio of the autocorrelation - in one pass over the samples.
//
// Samples << 16 make every product and difference of the plain forms (voicing_temporal.h) a multiple of 2^16
// of 16-bit ones, so with s the samples and all sums modulo their width:
//   upper half of ((s[i] - s[j]) << 16)^2 = d^2, d the 16-bit difference;  |(s[i] - s[j]) << 16| = |d| << 16;
//   upper half of (|s[i]| << 16) * (|s[j]| << 16) = |s[i]| * |s[j]|.
// Sums that wrap can be taken in any order and width; energies of all lags come from one running sum; whole
// vectors are read beyond the window's end, where samples are 0, and what that adds is subtracted again.
#pragma once

#include <cstdint>
#include <span>

#include "epd/voicing_temporal.h"

namespace vask {

struct LagFeatures {
  int32_t yin_voicing;
  int32_t amdf_min;
  int32_t peak_valley_ratio;
};

// The features of a window of at most 320 samples, over the lags 32 .. 267. Assumes round-to-nearest.
LagFeatures MeasureLags(std::span<const int16_t> window);

}  // namespace vask
