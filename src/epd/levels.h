// Log energies and noise levels of the detector: Q16 units, 16 units a doubling of energy.
#pragma once

#include <algorithm>
#include <cstdint>

#include "dsp/arith.h"

namespace vask {

constexpr int32_t Units(int32_t n) { return n * kOneQ16; }

// The level that a frame's energy is held against: the noise, within the levels at which speech is expected.
constexpr int32_t BaseLevel(int32_t noise) { return std::clamp(noise, Units(150), Units(300)); }

}  // namespace vask
