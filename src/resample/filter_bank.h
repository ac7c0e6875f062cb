// The sums of the resampler. In and out: int16 samples.
//
// Coefficients are Q18. Those of the taps in the middle do not fit 16 bits and are stored in two parts,
// coarse
// * 256 + fine; elsewhere coarse is 0 and not stored. The fine parts of the first and of the second half of
// the taps are summed apart. So all sums fit 32 bits: in each the magnitudes of the coefficients add up to
// less than 2^16.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kCoarseBits = 8;
inline constexpr int32_t kFilterQ = 18;
inline constexpr int32_t kCentreTaps = 32;  // with a coarse part
inline constexpr int32_t kTapStep = 16;     // the number of taps is a multiple of this: 80, 112 or 160

constexpr int32_t FirstHalf(int32_t taps) { return (taps / 2 + kTapStep / 2) / kTapStep * kTapStep; }

// Output k stands at k * (whole_step + part_step / phases) samples of the input: its phase says how far
// behind a sample of the input it is, in `phases` parts of their distance.
struct FilterBank {
  const int16_t* coefficients;  // for each phase: `taps` fine ones, kCentreTaps coarse ones
  int32_t taps;
  int32_t centre;  // the first tap with a coarse part
  int32_t phases;
  int32_t whole_step, part_step;

  const int16_t* Phase(int32_t phase) const { return coefficients + int64_t{phase} * (taps + kCentreTaps); }

  // To the next output: its phase, its window.
  void Advance(int32_t& phase, const int16_t*& x) const {
    x += whole_step;
    phase += part_step;
    if (phase < phases) return;
    phase -= phases;
    ++x;
  }
};

// Outputs in a row, the first one of `phase` from the window that begins at x.
void RunFilters(const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out);

// Half the rate, by a half-band filter: out[i] stands at even[i], and odd[i] .. odd[i + kHalfBandTaps - 1]
// are the samples around it, half of them before it. Beyond those kReadableAfter more must be readable.
inline constexpr int32_t kHalfBandTaps = 24, kReadableAfter = 8;
void RunHalfBand(const int16_t* even, const int16_t* odd, std::span<int16_t> out);

}  // namespace vask
