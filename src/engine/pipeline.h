// One frame through the whole engine.
#pragma once

#include <cstdint>
#include <span>

#include "engine/record.h"

namespace vask {

// Set the mode, then process. frame: 160 samples, clipped to +-30000 in place. out: room for 160 samples in
// mode 1, for 14080 in mode 2; may be null, then nothing is put out. count: samples put out.
// Result: kGoOn, kEnded or kRestarted.
int32_t ProcessFrameInMode(Engine& engine, int32_t mode, int16_t* frame, int16_t* out, int32_t& count);

// The same in the mode that is set.
int32_t ProcessFrame(Engine& engine, int16_t* frame, int16_t* out, int32_t& count);

}  // namespace vask
