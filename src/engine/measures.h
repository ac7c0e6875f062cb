// Clipping, extremes, energy and loudness of an input frame.
#pragma once

#include <cstdint>
#include <span>

#include "engine/record.h"

namespace vask {

// Clip the frame to +-30000 in place and into frame_copy; note extremes (unclipped), energy and loudness.
void MeasureAndClip(const Engine& engine, std::span<int16_t> frame);

// loudness = log2 of the energy, Q15: for native callers that ask for it.
void LoudnessFromEnergy(epd_engine& e);

}  // namespace vask
