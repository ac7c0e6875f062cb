#include "engine/measures.h"

#include <algorithm>
#include <cstdlib>

#include "dsp/logarithm.h"
#include "engine/cleaning.h"
#include "epd/energy.h"

namespace vask {
namespace {

constexpr int32_t kLoudestSum = 1499999;  // of magnitudes; above it the loudness is 100
constexpr float kFullLoudness = 1.5e6f;

// 0 to 100. The quotient is single precision, its percentage double; both are part of the result.
int32_t Loudness(int32_t sum_of_magnitudes, int32_t energy) {
  if (sum_of_magnitudes > kLoudestSum) return 100;
  if (energy == 0) return 0;
  const float share = static_cast<float>(sum_of_magnitudes) / kFullLoudness;
  const auto percent = static_cast<int32_t>(static_cast<double>(share) * 100.0);
  return percent > 99 ? 100 : std::max(percent, 1);
}

}  // namespace

void MeasureAndClip(const Engine& engine, std::span<int16_t> frame) {
  epd_engine& e = engine.state;
  if (engine.observer != nullptr) engine.observer->begins(e, frame);
  int32_t magnitudes = 0;
  for (int16_t& sample : frame) {
    sample = Clip(sample);
    magnitudes += std::abs(sample);
  }
  std::copy(frame.begin(), frame.end(), e.frame_copy);
  e.energy = SquareEnergy(frame);
  if (engine.observer != nullptr) engine.observer->measured(e.energy);
  e.loudness = Loudness(magnitudes, e.energy);
}

void LoudnessFromEnergy(epd_engine& e) { e.loudness = Log2Q15(e.energy); }

}  // namespace vask
