#include "samples.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vask::gst {
namespace {

constexpr float kFullScale = 32768;

// A value in 16-bit units to the nearest sample, halves upwards.
int16_t Integer(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<int16_t>(std::clamp(std::floor(value + 0.5), -32768.0, 32767.0));
}

// Buffers may begin at any byte.
template <typename Sample>
Sample Load(const uint8_t* data, size_t index) {
  Sample sample;
  std::memcpy(&sample, data + index * sizeof sample, sizeof sample);
  return sample;
}

template <typename Sample>
void Store(uint8_t* data, size_t index, Sample sample) {
  std::memcpy(data + index * sizeof sample, &sample, sizeof sample);
}

bool IsFloat(const GstAudioInfo& info) { return GST_AUDIO_INFO_IS_FLOAT(&info); }
size_t Channels(const GstAudioInfo& info) { return static_cast<size_t>(GST_AUDIO_INFO_CHANNELS(&info)); }

template <typename Sample>
void Mix(const uint8_t* data, size_t channels, double scale, std::span<int16_t> out) {
  for (size_t i = 0; i < out.size(); ++i) {
    double sum = 0;
    for (size_t c = 0; c < channels; ++c) sum += static_cast<double>(Load<Sample>(data, i * channels + c));
    out[i] = Integer(sum * scale / static_cast<double>(channels));
  }
}

}  // namespace

void ToMono(const GstAudioInfo& info, const uint8_t* data, std::span<int16_t> out) {
  if (IsFloat(info)) {
    Mix<float>(data, Channels(info), double{kFullScale}, out);
  } else if (Channels(info) == 1) {
    std::memcpy(out.data(), data, out.size_bytes());
  } else {
    Mix<int16_t>(data, Channels(info), 1, out);
  }
}

void ToChannel(const GstAudioInfo& info, const uint8_t* data, int32_t channel, std::span<float> out) {
  const size_t channels = Channels(info);
  for (size_t i = 0; i < out.size(); ++i) {
    const size_t index = i * channels + static_cast<size_t>(channel);
    out[i] = IsFloat(info) ? Load<float>(data, index)
                           : static_cast<float>(Load<int16_t>(data, index)) / kFullScale;
  }
}

void FromChannel(const GstAudioInfo& info, std::span<const float> in, int32_t channel, uint8_t* data) {
  const size_t channels = Channels(info);
  for (size_t i = 0; i < in.size(); ++i) {
    const size_t index = i * channels + static_cast<size_t>(channel);
    if (IsFloat(info)) {
      Store<float>(data, index, in[i]);
    } else {
      Store<int16_t>(data, index, Integer(double{in[i]} * double{kFullScale}));
    }
  }
}

void ToIntegers(std::span<const float> in, std::span<int16_t> out) {
  std::transform(in.begin(), in.end(), out.begin(),
                 [](float value) { return Integer(double{value} * double{kFullScale}); });
}

}  // namespace vask::gst
