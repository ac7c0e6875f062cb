// The first half of the pipeline: clip -> noise reduction (two frames later) -> DC notch. The engine takes
// its steps; a cleaner runs them alone, without an endpoint detector behind them. In and out: 160 samples.
#pragma once

#include <vask/dsp.h>
#include <vask/noise.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "dsp/sizes.h"

namespace vask {

inline constexpr int16_t kClipLevel = 30000;
constexpr int16_t Clip(int16_t sample) { return std::clamp<int16_t>(sample, -kClipLevel, kClipLevel); }

inline constexpr int32_t kNoiseDelay = 2;  // frames: the noise reduction looks that far ahead

// The newest frame goes after the three before it.
void EnterHistory(wiener_filt& wf, const int16_t* frame);
void ShiftHistory(wiener_filt& wf);
bool IsHistoryFull(const wiener_filt& wf);

// Of wf.out_frame, in place; `scratch_q15`: 160 values.
void RemoveDcFromOutput(wiener_filt& wf, int32_t* scratch_q15, dc_filt& dc);

class Cleaner {
 public:
  bool Open();  // false if there is no memory
  void Close();
  void Clear();

  // Take one frame; returns that of kNoiseDelay frames before. As in the engine, the filter begins with the
  // first frame that has energy: what comes before it is returned as silence.
  std::span<const int16_t, kFrame> Filter(std::span<const int16_t, kFrame> frame);

 private:
  wiener_filt wiener_;
  dc_filt dc_;
  fft_tables twiddles_;
  std::array<int32_t, kFrame> scratch_q15_;
  std::array<int16_t, kFrame> silence_;
  bool has_started_;
};

}  // namespace vask
