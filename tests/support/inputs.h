// Inputs of the tests, the same on every machine, and the transform by its definition.
#pragma once

#include <vask/dsp.h>

#include <array>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "dsp/fft.h"

namespace vask::test {

template <size_t N>
using Cases = std::vector<std::array<int32_t, N>>;
using Values = std::vector<int32_t>;
using Samples = std::vector<int16_t>;

inline constexpr double kTwoPi = 2 * std::numbers::pi, kOneQ30 = 1 << 30;

// Uniform in -amplitude .. amplitude.
inline Samples Noise(size_t n, int32_t amplitude, uint32_t seed) {
  std::mt19937 random(seed);
  Samples samples(n);
  const auto span = static_cast<uint32_t>(2 * amplitude + 1);
  for (int16_t& s : samples) s = static_cast<int16_t>(static_cast<int32_t>(random() % span) - amplitude);
  return samples;
}

inline Samples Tone(size_t n, double period, double amplitude) {
  Samples samples;
  for (double i = 0.5; samples.size() < n; ++i)
    samples.push_back(static_cast<int16_t>(amplitude * std::sin(kTwoPi * i / period)));
  return samples;
}

inline std::vector<std::pair<std::string, Samples>> Signals(size_t n) {
  Samples impulse(n), alternating(n, -32768);
  impulse[n / 2] = -32768;
  for (size_t i = 0; i < n; i += 2) alternating[i] = 32767;
  return {
      {"silence", Samples(n)},    {"lowest", Samples(n, -32768)},       {"alternating", alternating},
      {"impulse", impulse},       {"noise, seed 1", Noise(n, 6000, 1)}, {"loud, seed 2", Noise(n, 32767, 2)},
      {"tone", Tone(n, 80, 9000)}};
}

// The extremes, powers of two and their neighbours of both signs, random values of every length (seed 4).
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
  if (tables.cc1 == nullptr) BuildTwiddles(tables, 9, {cc1_data, ss1_data, cc3_data, ss3_data});
  return tables;
}

// X(0) .. X(n/2) of x, zeros appended to n points.
template <typename T>
std::vector<std::complex<double>> Dft(const std::vector<T>& x, size_t n) {
  std::vector<std::complex<double>> spectrum(n / 2 + 1), turn;
  for (double t = 0; turn.size() < n; ++t)
    turn.push_back(std::polar(1.0, -kTwoPi * t / static_cast<double>(n)));
  for (size_t k = 0; k <= n / 2; ++k)
    for (size_t t = 0; t < x.size(); ++t) spectrum[k] += static_cast<double>(x[t]) * turn[k * t % n];
  return spectrum;
}

}  // namespace vask::test
