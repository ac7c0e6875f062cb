#include "engine/measures.h"

#include <algorithm>
#include <cstdlib>

#include "dsp/logarithm.h"
#include "dsp/sample_range.h"
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

// The extremes of the unclipped input. A sample above the maximum is not compared with the minimum: that
// matters only if they are out of order, as a caller can set them.
void NoteSamples(EnvironmentHistory& history, std::span<const int16_t> samples) {
  SampleRange range = {history.sample_min, history.sample_max};
  if (range.low <= range.high) {  // speed only
    range = WidenedBy(samples, range);
  } else {
    for (const int16_t sample : samples) {
      if (sample > range.high) {
        range.high = sample;
      } else if (sample < range.low) {
        range.low = sample;
      }
    }
  }
  history.sample_min = range.low;
  history.sample_max = range.high;
}

}  // namespace

void MeasureAndClip(const Engine& engine, std::span<int16_t> frame) {
  epd_engine& e = engine.state;
  if (engine.history != nullptr) NoteSamples(*engine.history, frame);
  int32_t magnitudes = 0;
  for (int16_t& sample : frame) {
    sample = Clip(sample);
    magnitudes += std::abs(sample);
  }
  std::copy(frame.begin(), frame.end(), e.frame_copy);
  e.energy = SquareEnergy(frame);
  if (engine.history != nullptr) NoteEnergy(*engine.history, e.energy);
  e.loudness = Loudness(magnitudes, e.energy);
}

void LoudnessFromEnergy(epd_engine& e) { e.loudness = Log2Q15(e.energy); }

}  // namespace vask
