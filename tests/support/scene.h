// Synthetic scenes for the engine, in frames of 160 samples.
#pragma once

#include <cmath>
#include <cstdint>
#include <initializer_list>

#include "support/inputs.h"

namespace vask::test {

inline Samples Join(std::initializer_list<Samples> parts) {
  Samples all;
  for (const Samples& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

inline Samples Hiss(size_t frames, int32_t peak, uint32_t seed) { return Noise(160 * frames, peak, seed); }

// Ten harmonics of 125 Hz, falling by 6 dB per octave, over a faint hiss.
inline Samples Vowel(size_t frames, double level) {
  Samples samples = Hiss(frames, 20, 1);
  for (size_t i = 0; i < samples.size(); ++i) {
    double sum = 0;
    for (int k = 1; k <= 10; ++k) sum += std::sin(kTwoPi * k * static_cast<double>(i % 128) / 128) / k;
    samples[i] = static_cast<int16_t>(samples[i] + std::lround(level * sum));
  }
  return samples;
}

// An utterance between pauses, which is accepted, and a burst of noise, which is not.
inline Samples Utterance() { return Join({Hiss(60, 20, 2), Vowel(80, 4000), Hiss(170, 20, 3)}); }
inline Samples Burst() { return Join({Hiss(60, 20, 4), Hiss(40, 8000, 5), Hiss(170, 20, 6)}); }

}  // namespace vask::test
