#include "resample/rate_filter.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>

#include "dsp/memory.h"
#include "dsp/tables/low_pass.h"

namespace vask {
namespace {

constexpr int32_t kPointsPerSample = 24;  // of the table, samples of the lower rate
constexpr auto kPoints = static_cast<int32_t>(kLowPassQ24.size());

int64_t TableQ24(int32_t i) {
  i = std::abs(i);
  return i < kPoints ? kLowPassQ24[static_cast<size_t>(i)] : 0;
}

// To the nearest; d is above 0.
int64_t Quotient(int64_t n, int64_t d) {
  const int64_t q = (2 * n + d) / (2 * d);
  return q - ((2 * n + d) % (2 * d) < 0 ? 1 : 0);
}

// The low-pass at `n / d` samples of the lower rate: a cubic through the four points around it. The sums stay
// below 2^60 for d up to 1000.
int64_t LowPassQ24(int64_t n, int64_t d) {
  const int64_t at = std::abs(n) * kPointsPerSample, a = at % d;
  const auto i = static_cast<int32_t>(at / d);
  if (a == 0) return TableQ24(i);
  const int64_t b = d - a;
  const int64_t middle = a * (d + b) * TableQ24(i + 1) * (d + a) + b * (d + a) * TableQ24(i) * (d + b);
  const int64_t outer = a * b * ((d + b) * TableQ24(i - 1) + (d + a) * TableQ24(i + 2));
  return Quotient(3 * middle - outer, 6 * d * d * d);
}

}  // namespace

// Tap t is `distance / phases` samples of the input after the output.
void RateFilter::FillPhase(int32_t phase, int16_t* fine) const {
  constexpr int32_t kCoarse = 1 << kCoarseBits;
  int16_t* const coarse = fine + bank_.taps;
  const int64_t lower = std::max(step_, bank_.phases);
  for (int32_t t = 0; t < bank_.taps; ++t) {
    const int64_t distance = int64_t{t + ahead_ - bank_.taps + 1} * bank_.phases - phase;
    // The gain is that of the lower rate's share of the input's.
    const int64_t q18 = Quotient(LowPassQ24(distance, lower) * bank_.phases, lower << (24 - kFilterQ));
    const int32_t c = t - bank_.centre;
    const int64_t upper = c >= 0 && c < kCentreTaps ? Quotient(q18, kCoarse) : 0;
    if (c >= 0 && c < kCentreTaps) coarse[c] = static_cast<int16_t>(upper);
    fine[t] = static_cast<int16_t>(q18 - upper * kCoarse);
  }
}

bool RateFilter::Open(int32_t in_rate, int32_t out_rate) {
  const int32_t divisor = std::gcd(in_rate, out_rate);
  step_ = in_rate / divisor;
  bank_.phases = out_rate / divisor;
  bank_.whole_step = step_ / bank_.phases;
  bank_.part_step = step_ % bank_.phases;
  // Samples of the lower rate, then of the input, rounded up.
  const int32_t lower = std::max(step_, bank_.phases);
  const int32_t parts = kPointsPerSample * bank_.phases;
  ahead_ = ((kPoints - 1) * lower + parts - 1) / parts;
  bank_.taps = (2 * ahead_ + kTapStep - 1) / kTapStep * kTapStep;
  bank_.centre = bank_.taps - ahead_ - kCentreTaps / 2;
  coefficients_ = NewZeroed<int16_t>(int64_t{bank_.phases} * (bank_.taps + kCentreTaps));
  if (coefficients_ == nullptr) return false;
  for (int32_t phase = 0; phase < bank_.phases; ++phase) {
    FillPhase(phase, coefficients_ + int64_t{phase} * (bank_.taps + kCentreTaps));
  }
  bank_.coefficients = coefficients_;
  return true;
}

void RateFilter::Close() { Release(coefficients_); }

}  // namespace vask
