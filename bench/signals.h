// What the benchmarks run over: 16 kHz material in frames of 160 samples, the same in every run.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vask::bench {

inline constexpr int32_t kFrameLength = 160;  // samples, 10 ms

using Frame = std::array<int16_t, kFrameLength>;
using Signal = std::vector<Frame>;

struct Material {
  std::string name;
  Signal signal;
};

// Speech in a room (samples/room.wav), white noise, digital silence after one frame of signal, and a silence
// of +-2 units. Read and made at the first call; throws std::runtime_error where the speech cannot be read.
const std::vector<Material>& Materials();

// The first of them.
const Signal& Speech();

}  // namespace vask::bench
