// Inputs of the tests, the same on every machine: windows of samples, extreme, random and speech, and
// operands.
#pragma once

#include <vask/dsp.h>

#include <cmath>
#include <cstdint>
#include <fstream>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "dsp/fft.h"

namespace vask::test {

using Values = std::vector<int32_t>;
using Samples = std::vector<int16_t>;

inline constexpr double kTwoPi = 2 * std::numbers::pi;

// Uniform in -amplitude .. amplitude.
inline Samples Noise(size_t n, int32_t amplitude, uint32_t seed) {
  std::mt19937 random(seed);
  Samples samples(n);
  const auto span = static_cast<uint32_t>(2 * amplitude + 1);
  for (int16_t& s : samples) s = static_cast<int16_t>(static_cast<int32_t>(random() % span) - amplitude);
  return samples;
}

// The recorded speech, without its 44-byte header.
inline Samples Room() {
  std::ifstream file(std::string(VASK_SAMPLES_DIR) + "/room.wav", std::ios::binary);
  file.seekg(44);
  Samples samples;
  for (char b[2]; file.read(b, 2);)
    samples.push_back(static_cast<int16_t>(static_cast<uint8_t>(b[0]) | static_cast<uint8_t>(b[1]) << 8));
  return samples;
}

struct Input {
  std::string name;  // enough to reproduce it
  Samples samples;
};

// Windows of n samples. Random ones at all levels, since the fast forms are limited by level.
inline std::vector<Input> Inputs(size_t n, int random_count = 300) {
  std::vector<Input> inputs;
  const auto add = [&](std::string name, auto sample) {
    Input& input = inputs.emplace_back(Input{std::move(name), Samples(n)});
    for (size_t i = 0; i < n; ++i) input.samples[i] = static_cast<int16_t>(sample(i));
  };
  for (int value : {0, 1, -1, 32767, -32768, 30000, 12000}) {
    const std::string text = std::to_string(value);
    add("all " + text, [&](size_t) { return value; });
    add("alternating " + text, [&](size_t i) { return i % 2 == 0 ? value : ~value; });
    add("impulse " + text, [&](size_t i) { return i == n / 3 ? value : 0; });
    add("sine " + text, [&](size_t i) { return value * std::sin(0.05 * static_cast<double>(i)); });
  }
  for (int seed = 0; seed < random_count; ++seed) {
    std::mt19937 random(static_cast<uint32_t>(seed));
    const auto shift = random() % 16;
    add("random, seed " + std::to_string(seed),
        [&](size_t) { return static_cast<int16_t>(random()) >> shift; });
  }
  static const Samples room = Room();
  for (size_t at = 0; at + n <= room.size(); at += 10 * n)
    add("room.wav at " + std::to_string(at), [&](size_t i) { return room[at + i]; });
  return inputs;
}

// The extremes, powers of two and their neighbours with both signs, random values of every length (seed 4).
template <typename T>
std::vector<T> Operands(int random_ones) {
  constexpr auto kBits = static_cast<int>(8 * sizeof(T));
  std::vector<T> values = {0, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
  for (int i = 0; i < 2 * kBits - 2; ++i) {
    const T power = T{1} << (i / 2);
    values.insert(values.end(), {power - i % 2, 1 - power - i % 2, power / 2 + 1});
  }
  std::mt19937_64 random(4);
  while (random_ones-- > 0) values.push_back(static_cast<T>(random()) >> (random() % kBits));
  return values;
}

inline const fft_tables& Twiddles() {
  static fft_tables tables;
  if (tables.cc1 == nullptr) BuildTwiddles(tables, 9);
  return tables;
}

}  // namespace vask::test
