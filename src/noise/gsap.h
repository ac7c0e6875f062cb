// The noise reduction's speech detector: global speech-absence probability (GSAP) from mel-band amplitudes.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

namespace vask {

// Decide on one frame from its band amplitudes (int64, no fixed Q) and learn the band noise.
void DetectSpeech(wiener_vad& vad, wiener_spectrum& spectrum, wiener_gsap_data& data,
                  std::span<const int64_t> amplitude);

}  // namespace vask
