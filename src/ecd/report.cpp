// Natural logarithms of energies in, an SNR in dB out. Mean levels are compared, as natural logarithms too.
#include "ecd/report.h"

#include <algorithm>
#include <limits>

#include "dsp/logarithm.h"
#include "dsp/portable_math.h"

namespace vask {
namespace {

constexpr int32_t kGuard = 6;              // frames around a change that are left out
constexpr int32_t kMostBefore = 20;        // frames before the first change
constexpr int32_t kFinalBackground = 30;   // frames at the end
constexpr double kDecibelsPerUnit = 4.34;  // 10 / ln 10
constexpr int32_t kEnergyColumn = kMelColumns - 1;

double Exponential(double x) {
  if (x < -700) return 0;  // below every single-precision number; minus infinity is the level of silence
  if (x <= 700) return PortableExp(x);
  return x > 700 ? std::numeric_limits<double>::infinity() : x;  // or not a number
}

// The logarithm of the mean of energies that are given as logarithms; not a number if there are none.
class MeanLevel {
 public:
  void Add(float level) {
    sum_ = static_cast<float>(static_cast<double>(sum_) + Exponential(static_cast<double>(level)));
    ++count_;
  }
  float Level() const {
    if (count_ == 0) return std::numeric_limits<float>::quiet_NaN();
    return NaturalLog(static_cast<double>(sum_ / static_cast<float>(count_)));
  }

 private:
  float sum_ = 0.0f;
  int32_t count_ = 0;
};

// The mean level of frames first .. end - 1, or only of those above `floor` if there is one. Frames outside
// the histories are left out.
template <typename LevelAt>
float LevelOf(LevelAt level_at, int64_t first, int64_t end, const float* floor = nullptr) {
  MeanLevel mean;
  for (int64_t t = std::max<int64_t>(first, 0); t < std::min<int64_t>(end, kHistoryCapacity); ++t) {
    const float level = level_at(t);
    if (floor == nullptr || level > *floor) mean.Add(level);
  }
  return mean.Level();
}

}  // namespace

int32_t ReportChange(EnvironmentDetector& detector, const EnvironmentHistory& history,
                     const Changes& changes) {
  detector.snr = 0.0f;
  if (changes.count < 2 || history.mel_energies == nullptr || history.log_energies == nullptr)
    return kTooFewChanges;

  const auto extractors = [&](int64_t t) { return history.mel_energies[t][kEnergyColumn]; };
  const auto engines = [&](int64_t t) { return history.log_energies[t]; };
  const int64_t frames = MelRowsOf(history), first = changes.first, last = changes.last;

  const float before = LevelOf(extractors, first - kGuard - kMostBefore, first - kGuard);
  const float between = LevelOf(extractors, first + kGuard, last, &before);
  const float background = LevelOf(engines, frames - kFinalBackground, frames);
  const float speech = LevelOf(engines, first + kGuard, last, &background);

  const float over_background = speech - background;
  detector.snr = static_cast<float>(static_cast<double>(over_background) * kDecibelsPerUnit);
  // A level that is not a number fails no test.
  if (over_background < detector.snr_threshold) return kTooNearToNoise;
  if (between - before < detector.level_threshold) return kRoseTooLittle;
  return kStandsOut;
}

}  // namespace vask
