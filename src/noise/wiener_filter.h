// Noise reduction, one frame a call.
#pragma once

#include <vask/dsp.h>
#include <vask/noise.h>

#include <cstdint>
#include <span>

namespace vask {

// Filter the frame that entered the history two calls before into wf.out_frame (160 samples).
// wf.frame_count counts the frames entered and must be 3 or more; 3 marks the first call after a setting.
void FilterFrame(wiener_filt& wf, const mel_band& mel_bank, const fft_tables& twiddles);

// out[i] = sample * window (Q30) >> 20; 0 beyond the window.
void ApplyWindow(const int16_t* samples, std::span<const int32_t> window_q30, std::span<int64_t> out);

}  // namespace vask
