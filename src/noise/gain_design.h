// The Wiener gain of each bin of the smoothed spectrum.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

namespace vask {

// The spectra that one frame's gain design works on, bins values each.
struct GainSpectra {
  std::span<int64_t> current;   // amplitude of this frame
  std::span<int64_t> mean;      // amplitude, of the mean power of two frames
  std::span<int64_t> noise;     // noise amplitude, learned while vad says noise
  std::span<int64_t> cleaned;   // cleaned amplitude of the frame before; out: of this frame
  std::span<int32_t> gain_q30;  // out
};

void DesignGain(const GainSpectra& spectra, const wiener_vad& vad);
void DesignGainPlain(const GainSpectra& spectra, const wiener_vad& vad);

}  // namespace vask
