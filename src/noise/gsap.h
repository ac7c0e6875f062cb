// The noise reduction's speech detector: global speech-absence probability (GSAP) from mel-band amplitudes.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

#include "dsp/arith.h"

namespace vask {

// Shares of the previous frame's cleaned amplitude and of this frame's SNR in the a-priori SNR.
inline constexpr int32_t kOldSnrQ30 = Q<30>(0.98), kNewSnrQ30 = kOneQ30 - kOldSnrQ30;
static_assert(kOldSnrQ30 == 1052266987 && kNewSnrQ30 == 21474837);

// Decide on one frame from its band amplitudes (int64, no fixed Q) and learn the band noise.
void DetectSpeech(wiener_vad& vad, wiener_spectrum& spectrum, wiener_gsap_data& data,
                  std::span<const int64_t> amplitude);

// The likelihood ratio of speech in one band, Q16, 1 to 131072, from its noise, signal and cleaned amplitude;
// updates the last. The plain form.
int64_t LikelihoodRatio(int64_t& noise, int64_t signal, int64_t& clean);

}  // namespace vask
