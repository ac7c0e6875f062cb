// Levels in dB. Powers are mean squares of 16-bit samples; the detector's units are 16 per doubling.
#pragma once

#include <cstdint>

#include "dsp/arith.h"
#include "dsp/logarithm.h"

namespace vask {

inline constexpr float kSilenceDb = -200.0f;

// Of samples whose sum of squares is `energy`; full scale, a mean square of 2^30, is 0 dB.
inline float LevelDb(int64_t energy, int64_t samples) {
  constexpr double kDbPerNeper = 4.3429448190325182;   // 10 / ln 10
  constexpr double kFullScaleDb = 90.308998699194358;  // 10 log10(2^30)
  if (energy <= 0 || samples <= 0) return kSilenceDb;
  const double power = static_cast<double>(energy) / static_cast<double>(samples);
  return static_cast<float>(kDbPerNeper * NaturalLogWide(power) - kFullScaleDb);
}

// A log energy or noise level of the detector, units in Q16.
inline float UnitsToDb(int32_t units_q16) {
  constexpr double kDbPerUnit = 0.18814374728998896;  // 10 log10(2) / 16
  return static_cast<float>(units_q16 * (kDbPerUnit / kOneQ16));
}

}  // namespace vask
