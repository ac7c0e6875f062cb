// Log energies and noise levels of the detector: Q16 units, 16 units per doubling of energy.
#pragma once

#include <algorithm>
#include <cstdint>

#include "dsp/arith.h"

namespace vask {

constexpr int32_t Units(int32_t n) { return n * kOneQ16; }

// The level with which a frame's energy is compared: the noise, limited to the levels at which speech is
// expected.
constexpr int32_t BaseLevel(int32_t noise) { return std::clamp(noise, Units(150), Units(300)); }

}  // namespace vask
