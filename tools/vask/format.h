// The one sound format inside the command: 16 kHz, mono, 16-bit, in frames of 10 ms.
#pragma once

#include <array>
#include <cstdint>

namespace vask::command {

constexpr int32_t kRateHz = 16000;
constexpr int32_t kFrameSamples = 160;

using Frame = std::array<int16_t, kFrameSamples>;

}  // namespace vask::command
