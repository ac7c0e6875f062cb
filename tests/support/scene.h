// Material for the engine in frames of 160 samples: made scenes, and the recording of samples/.
#pragma once

#include <cmath>
#include <cstdint>
#include <fstream>
#include <initializer_list>
#include <numbers>
#include <random>
#include <string>
#include <vector>

namespace vask::test {

using Samples = std::vector<int16_t>;

inline Samples Join(std::initializer_list<Samples> parts) {
  Samples all;
  for (const Samples& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// White noise, equally distributed over -peak ... peak.
inline Samples Hiss(size_t frames, int32_t peak, uint32_t seed) {
  std::mt19937 random(seed);
  Samples samples(160 * frames);
  for (int16_t& s : samples)
    s = static_cast<int16_t>(static_cast<int32_t>(random() % static_cast<uint32_t>(2 * peak + 1)) - peak);
  return samples;
}

// Ten harmonics of 125 Hz, falling by 6 dB an octave, over a faint hiss.
inline Samples Vowel(size_t frames, double level) {
  Samples samples = Hiss(frames, 20, 1);
  for (size_t i = 0; i < samples.size(); ++i) {
    double sum = 0;
    for (int k = 1; k <= 10; ++k)
      sum += std::sin(std::numbers::pi * k * static_cast<double>(i % 128) / 64) / k;
    samples[i] = static_cast<int16_t>(samples[i] + std::lround(level * sum));
  }
  return samples;
}

// A spoken utterance with its pauses, which is accepted, and a burst of noise, which is not.
inline Samples Utterance() { return Join({Hiss(60, 20, 2), Vowel(80, 4000), Hiss(170, 20, 3)}); }
inline Samples Burst() { return Join({Hiss(60, 20, 4), Hiss(40, 8000, 5), Hiss(170, 20, 6)}); }

// The recorded speech; 44 bytes of header stand before its samples.
inline Samples Room() {
  std::ifstream file(std::string(VASK_SAMPLES_DIR) + "/room.wav", std::ios::binary);
  file.seekg(44);
  Samples samples;
  for (char b[2]; file.read(b, 2);)
    samples.push_back(static_cast<int16_t>(static_cast<uint8_t>(b[0]) | static_cast<uint8_t>(b[1]) << 8));
  return samples;
}

}  // namespace vask::test
