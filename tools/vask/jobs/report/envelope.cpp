#include "jobs/report/envelope.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vask::command {
namespace {

constexpr double kOctaves = 15;  // from 1 to 32768
constexpr double kCodes = 254;   // between their codes

}  // namespace

uint8_t HeightCode(int32_t magnitude) {
  if (magnitude == 0) return 0;
  return static_cast<uint8_t>(1 + std::lround(std::log2(magnitude) * kCodes / kOctaves));
}

void Envelope::Add(std::span<const int16_t> samples) {
  for (const int16_t sample : samples) {
    largest_ = std::max(largest_, std::abs(int32_t{sample}));
    if (++filled_ == step_) Finish();
  }
}

void Envelope::Finish() {
  if (filled_ == 0) return;
  values_.push_back(HeightCode(largest_));
  filled_ = largest_ = 0;
}

}  // namespace vask::command
