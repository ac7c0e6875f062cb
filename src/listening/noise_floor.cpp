#include "listening/noise_floor.h"

#include <algorithm>
#include <bit>

#include "dsp/kernel.h"

namespace vask {
namespace {

constexpr int32_t kBitsOfOne = std::bit_cast<int32_t>(1.0f);

// A new pair's least share: the floor follows with a time constant of ten pairs, 0.2 s of background.
constexpr float kSlowestTake = 0.1f;

// Mean power over the power of the mean logarithm. It is exp(0.5772) = 1.78 for Gaussian noise; the
// logarithm below is up to 0.086 octaves low, 0.057 on average, once on the way in and once on the way back.
constexpr float kMeanOverMeanLog = 1.75f;

constexpr float kLeastPower = 1;  // a tenth of the rounding noise of 16-bit samples

// The bits of a float are its logarithm with straight lines between the powers of two.
VASK_BODY float LogOf(float power) {
  return static_cast<float>(std::bit_cast<int32_t>(power + kLeastPower) - kBitsOfOne);
}

VASK_BODY void MoveMeanBody(const BinValues& older, const BinValues& newer, float take, BinValues& mean_log) {
  for (size_t k = 0; k < kPaddedBins; ++k) {
    const float pair = 0.5f * (LogOf(older[k]) + LogOf(newer[k]));
    mean_log[k] += take * (pair - mean_log[k]);
  }
}

VASK_BODY void InvertFloorBody(const NoiseFloor& floor, BinValues& inverse) {
  for (size_t k = 0; k < kPaddedBins; ++k) {
    const auto power = std::bit_cast<float>(static_cast<int32_t>(floor.mean_log[k]) + kBitsOfOne);
    inverse[k] = 1 / (kMeanOverMeanLog * power);
  }
}

}  // namespace

VASK_KERNEL(void, MoveMean, (const BinValues& older, const BinValues& newer, float take, BinValues& mean_log),
            (older, newer, take, mean_log), MoveMeanPortable)

VASK_KERNEL(void, InvertFloor, (const NoiseFloor& floor, BinValues& inverse), (floor, inverse),
            InvertFloorPortable)

void LearnPair(const BinValues& older, const BinValues& newer, float take, NoiseFloor& floor) {
  if (take <= 0) return;
  floor.weight += take;
  MoveMean(older, newer, take * std::max(kSlowestTake, 1 / floor.weight), floor.mean_log);
}

}  // namespace vask
