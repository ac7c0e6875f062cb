// Is the analysis window voiced? Two gates, then a vote over the voicing features.
#pragma once

#include <vask/epd.h>

#include <cstdint>
#include <span>

namespace vask {

// Which features of a window that reaches the vote are measured. kDeciding leaves out spectral_entropy,
// yin_voicing, amdf_min and peak_valley_ratio where they cannot change the decision: those fields then hold
// the values of an earlier window.
enum class VoicingFeatures { kAll, kDeciding };

// Decide on one window, smooth over seven, append to the history of 70. Writes only `uv`.
// noise, noise_ref: noise level in Q16 units.
void DecideVoicing(std::span<const int16_t> window, std::span<const int32_t> power, uv_prm& uv, int32_t noise,
                   int32_t noise_ref, const energy_vad_prm& vad, const epd_profile& profile,
                   VoicingFeatures wanted);

// The features that the vote looks at, into uv.
void ExtractVoicingFeatures(std::span<const int16_t> window, std::span<const int32_t> power, uv_prm& uv);

}  // namespace vask
