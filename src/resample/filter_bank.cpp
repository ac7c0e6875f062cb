#include "resample/filter_bank.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/tables/low_pass.h"

namespace vask {
namespace {

constexpr int32_t kOutputShift = kFilterQ - kCoarseBits;
constexpr int32_t kHalf = 1 << (kOutputShift - 1);

// In the last place of an output, to the nearest; each half of the fine sum is cut to the coarse one's
// places.
VASK_BODY int16_t Output(int32_t coarse, int32_t even, int32_t odd) {
  const int32_t sum = coarse + (even >> kCoarseBits) + (odd >> kCoarseBits);
  return static_cast<int16_t>(std::clamp((sum + kHalf) >> kOutputShift, INT16_MIN, INT16_MAX));
}

VASK_BODY int32_t Sum(const int16_t* coefficients, const int16_t* x, int32_t n) {
  int32_t sum = 0;
  for (int32_t t = 0; t < n; ++t) sum += coefficients[t] * x[t];
  return sum;
}

VASK_BODY int16_t Filter(const FilterBank& bank, const int16_t* fine, const int16_t* x) {
  int32_t halves[2] = {};
  for (int32_t t = 0, half = 0; t < bank.taps; t += kTapStep, half ^= 1)
    halves[half] += Sum(fine + t, x + t, kTapStep);
  return Output(Sum(fine + bank.taps, x + bank.centre, kCentreTaps), halves[0], halves[1]);
}

VASK_BODY void RunFiltersBody(const FilterBank& bank, int32_t phase, const int16_t* x,
                              std::span<int16_t> out) {
  for (int16_t& sample : out) {
    sample = Filter(bank, bank.Phase(phase), x);
    x += bank.whole_step;
    phase += bank.part_step;
    if (phase >= bank.phases) {
      phase -= bank.phases;
      ++x;
    }
  }
}

// The middle tap is 1/2, the other even ones are 0.
VASK_BODY void RunHalfBandBody(const int16_t* even, const int16_t* odd, std::span<int16_t> out) {
  for (size_t i = 0; i < out.size(); ++i) {
    int32_t sum = 0;
    for (size_t t = 0; t < kHalfBandQ16.size(); ++t) sum += kHalfBandQ16[t] * odd[i + t];
    const int32_t sample = ((sum >> 1) + (even[i] << 14) + (1 << 14)) >> 15;  // Q16 / 2 = Q15
    out[i] = static_cast<int16_t>(std::clamp<int32_t>(sample, INT16_MIN, INT16_MAX));
  }
}

}  // namespace

VASK_KERNEL(void, RunFilters,
            (const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out),
            (bank, phase, x, out), RunFiltersPortable)

VASK_KERNEL(void, RunHalfBand, (const int16_t* even, const int16_t* odd, std::span<int16_t> out),
            (even, odd, out), RunHalfBandPortable)

}  // namespace vask
