// How the samples of a sound file are stored, and how numbers become such samples.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace vask::command {

// Other forms are read as the one that holds them: 8 bits, and what was compressed, as 16; 32 bits as floats.
enum class SampleForm { kInt16, kInt24, kFloat };

constexpr int32_t BytesOf(SampleForm form) {
  return form == SampleForm::kInt16 ? 2 : form == SampleForm::kInt24 ? 3 : 4;
}

// A sample of that many bits, 1.0 = full scale: rounded, and held to what they can say.
inline int32_t ToInteger(double value, int32_t bits) {
  if (std::isnan(value)) return 0;  // a file of floats may hold anything
  const double full = static_cast<double>(int64_t{1} << (bits - 1));
  return static_cast<int32_t>(std::clamp(std::floor(value * full + 0.5), -full, full - 1));
}

}  // namespace vask::command
