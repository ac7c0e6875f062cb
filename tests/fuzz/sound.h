// Sound out of a fuzz input: a few bytes choose pieces of recorded speech, noise, tones, squares, silence and
// bytes as they are.
#pragma once

#include <algorithm>
#include <cmath>

#include "fuzz/fuzz.h"
#include "support/inputs.h"

namespace vask::fuzz {

inline int16_t SampleOf(int kind, size_t i, int32_t level, uint32_t& state) {
  state = state * 1664525 + 1013904223;
  switch (kind) {
    case 0:
      return 0;
    case 1:  // a step
      return static_cast<int16_t>(level);
    case 2:
      return static_cast<int16_t>(static_cast<int16_t>(state >> 16) * level / 32768);
    case 3:  // a square wave of 250 Hz at 16 kHz
      return static_cast<int16_t>(i % 64 < 32 ? level : -level);
    default:  // a chirp
      return static_cast<int16_t>(level * std::sin(1e-6 * static_cast<double>(i * i)));
  }
}

// Up to `most` samples.
inline Samples Sound(Input& input, size_t most) {
  static const Samples room = test::Room();
  Samples sound;
  const auto pieces = input.ConsumeIntegralInRange<int>(0, 8);
  for (int p = 0; p < pieces && sound.size() < most; ++p) {
    const int kind = input.ConsumeIntegralInRange<int>(0, 7);
    const size_t n = std::min(most - sound.size(), input.ConsumeIntegral<uint8_t>() * size_t{64});
    if (kind == 7) {
      const Bytes bytes = input.ConsumeBytes<uint8_t>(std::min<size_t>(2 * n, 64));
      for (size_t i = 0; !bytes.empty() && i < n; ++i) {
        const unsigned high = bytes[(2 * i + 1) % bytes.size()], low = bytes[2 * i % bytes.size()];
        sound.push_back(static_cast<int16_t>(high << 8 | low));
      }
    } else if (kind >= 5) {  // speech, at its level and at others
      const auto at = input.ConsumeIntegralInRange<size_t>(0, room.size() - 1);
      const int32_t percent = kind == 5 ? 100 : input.ConsumeIntegralInRange<int32_t>(0, 1000);
      for (size_t i = 0; i < n; ++i)
        sound.push_back(
            static_cast<int16_t>(std::clamp(room[(at + i) % room.size()] * percent / 100, -32768, 32767)));
    } else {
      const auto level = Edgy<int32_t>(input, -32768, 32767);
      uint32_t state = input.ConsumeIntegral<uint8_t>();
      for (size_t i = 0; i < n; ++i) sound.push_back(SampleOf(kind, i, level, state));
    }
  }
  return sound;
}

}  // namespace vask::fuzz
