// One frame through the whole engine.
#pragma once

#include <cstdint>
#include <span>

#include "engine/record.h"

namespace vask {

// What a frame led to, and the samples that it emitted: they stay in the engine's record until the
// next frame or wrap-up.
struct Step {
  int32_t result = kGoOn;  // kGoOn, kEnded or kRestarted
  std::span<const int16_t> emitted = {};
};

// Process a frame in the current mode. It is clipped to +-30000 in place. Nothing happens while the engine is
// down.
Step ProcessFrame(const Engine& engine, std::span<int16_t, kFrame> frame);

}  // namespace vask
