// Noise reduction, one frame per call.
#pragma once

#include <vask/noise.h>

#include <cstdint>
#include <span>

#include "dsp/fft.h"

namespace vask {

// Filter the frame that entered the history two calls earlier into wf.out_frame (160 samples). wf.frame_count
// counts the frames entered and must be 3 or more; 3 marks the first call after the record was cleared.
void FilterFrame(wiener_filt& wf, const mel_band& mel_bank, const fft_tables& twiddles);

// Its steps.

// From 257 powers to the smoothed spectrum and its mean with the previous frame's, which it then replaces.
void Smooth(const int64_t* power, std::span<int64_t> current, std::span<int64_t> previous,
            std::span<int64_t> mean, bool is_first);

// gain_q30[k] *= weight_q30[k].
void WeightGains(std::span<int32_t> gain_q30, const int32_t* weight_q30);

}  // namespace vask
