// The Wiener gain of each bin of the smoothed spectrum.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

#include "dsp/arith.h"

namespace vask {

inline constexpr int64_t kGainFloorQ20 = Q<20>(0.079432823);  // -22 dB
static_assert(kGainFloorQ20 == 83291);

// Shares of the previous frame's SNR and of this frame's in the a-priori SNR.
inline constexpr int32_t kOldSnrQ16 = Q<16>(0.98), kNewSnrQ16 = kOneQ16 - kOldSnrQ16;
static_assert(kOldSnrQ16 == 64225 && kNewSnrQ16 == 1311);

// The spectra that one frame's gain design works on, bins values each.
struct GainSpectra {
  std::span<int64_t> current;   // amplitude of this frame
  std::span<int64_t> mean;      // amplitude, of the mean power of two frames
  std::span<int64_t> noise;     // noise amplitude, learned while vad says noise
  std::span<int64_t> cleaned;   // cleaned amplitude of the previous frame; out: of this frame
  std::span<int32_t> gain_q30;  // out
};

void DesignGain(const GainSpectra& spectra, const wiener_vad& vad);

}  // namespace vask
