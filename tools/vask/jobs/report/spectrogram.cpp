#include "jobs/report/spectrogram.h"

#include <vask/dsp.h>

#include <algorithm>
#include <cmath>

namespace vask::command {
namespace {

// Samples times 2^6: this keeps a thousandth of a step, and the library's transform takes its fast path.
constexpr int32_t kWindowShift = 30 - 6;

// A sine at full scale reaches 2^15 * 2^6 * 512 / 2 under a window whose mean is 1/2.
constexpr double kFullScalePower = 0x1p56;

}  // namespace

Spectrogram::Spectrogram(int32_t frames) : frames_(frames), fresh_((kPoints + kFrameSamples) / 2) {
  init_filter_wind(window_.data(), kPoints);
}

void Spectrogram::Add(std::span<const int16_t> samples) {
  while (!samples.empty()) {
    const size_t n = std::min(samples.size(), static_cast<size_t>(fresh_));
    std::shift_left(samples_.begin(), samples_.end(), static_cast<std::ptrdiff_t>(n));
    std::copy_n(samples.begin(), n, samples_.end() - static_cast<std::ptrdiff_t>(n));
    samples = samples.subspan(n);
    fresh_ -= static_cast<int32_t>(n);
    if (fresh_ == 0) AddFrame();
  }
}

void Spectrogram::Finish() {
  // The last window reaches beyond the end.
  constexpr std::array<int16_t, (kPoints - kFrameSamples) / 2> kSilence = {};
  Add(kSilence);
  if (taken_ > 0) EndColumn();
}

void Spectrogram::AddFrame() {
  std::array<int64_t, kPoints> x;
  for (size_t i = 0; i < x.size(); ++i) x[i] = (int64_t{samples_[i]} * window_[i]) >> kWindowShift;
  Transform(x);
  for (size_t k = 1; k < kPoints / 2; ++k) {
    const auto re = static_cast<double>(x[k]), im = static_cast<double>(x[kPoints - k]);
    power_[k / 2] += re * re + im * im;
  }
  fresh_ = kFrameSamples;
  if (++taken_ == frames_) EndColumn();
}

void Spectrogram::EndColumn() {
  for (double& power : power_) {
    const double db = 10 * std::log10(power / taken_ / kFullScalePower + 1e-20);
    values_.push_back(static_cast<uint8_t>(std::clamp(std::lround(db) - kLowestDb, 0L, 255L)));
    power = 0;
  }
  taken_ = 0;
}

}  // namespace vask::command
