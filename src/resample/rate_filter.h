// The filter between two rates: which samples of the input an output needs, and the outputs themselves.
// Output k stands at input time k * in / out exactly, where the input begins at 0. It has no state.
#pragma once

#include <cstdint>
#include <span>

#include "resample/filter_bank.h"

namespace vask {

class RateFilter {
 public:
  // 16000 Hz and another of the nine rates; where that is the input's, at most 32000 Hz. False if there is no
  // memory.
  bool Open(int32_t in_rate, int32_t out_rate);
  void Close();

  int32_t taps() const { return bank_.taps; }

  // Output k needs the samples First(k) to First(k) + taps() - 1.
  int64_t First(int64_t k) const { return k * step_ / bank_.phases + ahead_ - bank_.taps + 1; }
  // Of the outputs that `n` samples of input allow, one past the last; the samples before 0 are known.
  int64_t Ready(int64_t n) const { return n > ahead_ ? OutputsBefore(n - ahead_) : 0; }
  // The outputs that stand before input time `n`.
  int64_t OutputsBefore(int64_t n) const { return (n * bank_.phases + step_ - 1) / step_; }

  // Outputs k, k + 1, ...; x[0] is sample First(k).
  void Run(int64_t k, const int16_t* x, std::span<int16_t> out) const {
    RunFilters(bank_, static_cast<int32_t>(k * step_ % bank_.phases), x, out);
  }

 private:
  void FillPhase(int32_t phase, int16_t* fine) const;

  FilterBank bank_;
  int16_t* coefficients_;
  int32_t step_;   // of an output: samples of the input / phases
  int32_t ahead_;  // samples after the one at an output, or before it, that the output needs
};

}  // namespace vask
