// The signal that the stages get.
#pragma once

#include <cstdint>
#include <vector>

namespace vask::command {

// A voice between noise, then silence, squares, a chirp, clicks and full-scale noise: 8 s, at any rate.
std::vector<int16_t> Scene(int32_t rate);

}  // namespace vask::command
