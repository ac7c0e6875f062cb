// Energies of a frame's samples and of its spectrum. All saturate at 2147483647.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// Sum of the squares of samples >> shift.
int32_t SquareEnergy(std::span<const int16_t> samples, int32_t shift = 0);

// Sum of power >> 3 over 219 Hz .. 6.2 kHz (bins 7 .. 199 of 31.25 Hz).
int32_t NoiseRobustEnergy(const int32_t* power);

// 16 log2(energy / 512 + 1) in Q16: 16 units per doubling.
int32_t QuantizeEnergy(int32_t energy);

}  // namespace vask
