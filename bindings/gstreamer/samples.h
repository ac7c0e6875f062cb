// Interleaved samples of a buffer, 16-bit integers or 32-bit floats, to what streams take and back. A value
// of 1.0 is full scale, 32768 in 16 bits.
#pragma once

#include <gst/audio/audio.h>

#include <cstdint>
#include <span>

namespace vask::gst {

// The mean of all channels, rounded. A single channel of 16 bits stays as it is.
void ToMono(const GstAudioInfo& info, const uint8_t* data, std::span<int16_t> out);

// One channel of `data`.
void ToChannel(const GstAudioInfo& info, const uint8_t* data, int32_t channel, std::span<float> out);

// The other way.
void FromChannel(const GstAudioInfo& info, std::span<const float> in, int32_t channel, uint8_t* data);

// Rounded and held to 16 bits; what is not a number becomes 0.
void ToIntegers(std::span<const float> in, std::span<int16_t> out);

}  // namespace vask::gst
