// IMA ADPCM on a state that the caller passes in.
#pragma once

#include <vask/adpcm.h>

#include <cstdint>
#include <span>

namespace vask {

// Encode the samples into (samples + 1) / 2 bytes; returns the prediction after the last one.
int32_t EncodeAdpcm(adpcm_state& state, std::span<const int16_t> in, uint8_t* out);

// Decode out.size() samples from (samples + 1) / 2 bytes; returns the step size after the last one.
int32_t DecodeAdpcm(adpcm_state& state, const uint8_t* in, std::span<int16_t> out);

}  // namespace vask
