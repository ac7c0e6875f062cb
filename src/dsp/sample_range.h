// The smallest and the largest of a frame's samples.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

namespace vask {

struct SampleRange {
  int16_t low, high;
};

// `range`, widened to hold the samples.
inline SampleRange WidenedBy(std::span<const int16_t> samples, SampleRange range) {
  int16_t low = range.low, high = range.high;
  for (const int16_t sample : samples) {
    low = std::min(low, sample);
    high = std::max(high, sample);
  }
  return {low, high};
}

}  // namespace vask
