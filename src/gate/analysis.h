// What the learned detector looks at: every two frames, the log-mel energies of both and the periodicity of
// the newer one. Nothing else is kept from one step to the next than the newest 25 ms of input.
#pragma once

#include <vask/dsp.h>

#include <array>
#include <cstdint>
#include <span>

#include "dsp/sizes.h"
#include "gate/bands.h"
#include "gate/periodicity.h"

namespace vask {

inline constexpr int32_t kGateInputs = 2 * kLogBands + kLagBands;
using GateInputs =
    std::array<int16_t, kGateInputs>;  // bands of the older frame, of the newer one; periodicity

class Analysis {
 public:
  bool Open();  // false if there is no memory
  void Close();
  void Clear();

  // Take one frame. True: it is the second of a step, and inputs() are those of the step.
  bool Hear(std::span<const int16_t, kFrame> frame);
  const GateInputs& inputs() const { return inputs_; }

  // The power spectrum of the newest 25 ms, bins of 31.25 Hz.
  std::span<const int64_t> power() const { return std::span(power_).first(kSpectrumBins); }

 private:
  static constexpr int32_t kWindowLength = 400;  // 25 ms

  fft_tables twiddles_;
  std::array<int32_t, kWindowLength> window_q30_;
  std::array<int16_t, kWindowLength> newest_;
  std::array<int64_t, kFftSize> power_;
  GateInputs inputs_;
  bool is_second_;
};

}  // namespace vask
