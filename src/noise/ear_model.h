// Outer and middle ear: the weight that the gain design gives to each bin.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// out[i] = square root of the ear's amplitude response at bin i of out.size() bins from 0 to rate / 2 Hz.
void EarModel(std::span<double> out, int32_t rate);

}  // namespace vask
