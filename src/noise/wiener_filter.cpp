// One call of the noise reduction: 640 samples of history in, 160 filtered samples out, two frames late.
// window -> FFT -> power -> bin pairs -> mean of two frames -> {detector, gain design} -> ear weights ->
// mel bands -> impulse response -> convolution. Samples are int16, spectra int64, gains and taps Q30.
#include "noise/wiener_filter.h"

#include <algorithm>
#include <array>

#include "dsp/arith.h"
#include "dsp/fft.h"
#include "dsp/float_mode.h"
#include "dsp/kernel.h"
#include "dsp/power_spectrum.h"
#include "dsp/square_root.h"
#include "dsp/windowing.h"
#include "noise/convolution.h"
#include "noise/convolution_fast.h"
#include "noise/gain_design.h"
#include "noise/gsap.h"
#include "noise/mel_bank.h"
#include "noise/mel_idct.h"

namespace vask {
namespace {

constexpr int32_t kSpectrumShift = 10;  // removes the window's scale of 2^10
constexpr int32_t kFirstFilteredFrame = 3;

// The sum of two powers that have overflowed wraps below zero: read it as the largest value.
VASK_BODY void LimitOverflow(std::span<int64_t> values) {
  for (int64_t& v : values) v = MaxIfNegative(v);
}

// out[k] = mean of the powers 2k and 2k + 1; the last bin has no partner.
VASK_BODY void SmoothPairs(const int64_t* power, std::span<int64_t> out) {
  const size_t last = out.size() - 1;
  for (size_t k = 0; k < last; ++k) out[k] = WrapAdd(power[2 * k], power[2 * k + 1]) >> 1;
  out[last] = power[2 * last];
}

VASK_BODY void MeanOfTwoFrames(std::span<const int64_t> current, std::span<int64_t> previous,
                               std::span<int64_t> mean, bool is_first) {
  for (size_t k = 0; k < mean.size(); ++k) {
    mean[k] = is_first ? current[k] : (current[k] >> 1) + (previous[k] >> 1);
    previous[k] = current[k];
  }
}

VASK_BODY void WeightGainsBody(std::span<int32_t> gain_q30, const int32_t* weight_q30) {
  for (size_t k = 0; k < gain_q30.size(); ++k) gain_q30[k] = Low32(MulShift<30>(gain_q30[k], weight_q30[k]));
}

// The taps h(0 .. len/2 - 1) under the falling half of the window, mirrored about the middle: a zero-phase
// filter.
void WindowImpulse(const int32_t* taps, const int32_t* window, int32_t* impulse, int32_t len) {
  const int32_t middle = len / 2;
  for (int32_t i = 0; i < middle; ++i) {
    impulse[middle + i] = impulse[middle - i] = Low32(MulShift<30>(taps[i], window[middle + i]));
  }
}

VASK_BODY void SmoothBody(const int64_t* power, std::span<int64_t> current, std::span<int64_t> previous,
                          std::span<int64_t> mean, bool is_first) {
  SmoothPairs(power, current);
  LimitOverflow(current);
  MeanOfTwoFrames(current, previous, mean, is_first);
  LimitOverflow(mean);
}

}  // namespace

VASK_KERNEL(void, Smooth,
            (const int64_t* power, std::span<int64_t> current, std::span<int64_t> previous,
             std::span<int64_t> mean, bool is_first),
            (power, current, previous, mean, is_first), SmoothPortable)
VASK_KERNEL(void, WeightGains, (std::span<int32_t> gain_q30, const int32_t* weight_q30),
            (gain_q30, weight_q30), WeightGainsPortable)

void FilterFrame(wiener_filt& wf, const mel_band& mel_bank, const fft_tables& twiddles) {
  const auto bins = static_cast<size_t>(wf.num_psd_bins), bands = static_cast<size_t>(wf.num_bands);
  const std::span<int64_t> fft(wf.fft_buf, static_cast<size_t>(wf.fft_size));
  const std::span<int64_t> current(wf.psd_cur, bins), previous(wf.psd_prev, bins), mean(wf.psd_mean, bins);
  const std::span<int64_t> amplitude(wf.mel_amp, bins);
  const std::span<int32_t> gain(wf.gain, bins);

  Samples512 windowed;
  WindowQ10(wf.sig_hist + wf.win_offset, {wf.hann_win, static_cast<size_t>(wf.win_len)}, windowed);
  PowerOfWindow(windowed, kSpectrumShift, twiddles, fft);
  Smooth(wf.fft_buf, current, previous, mean, wf.frame_count == kFirstFilteredFrame);
  Roots(current, current.data());
  Roots(mean, mean.data());
  std::copy(mean.begin(), mean.end(), amplitude.begin());
  SumBands(amplitude, mel_bank, wf.mel_scratch);
  LimitOverflow(amplitude.first(bands));
  DetectSpeech(wf.vad, wf.spectrum, wf.gsap_data, amplitude.first(bands));

  DesignGain({current, mean, {wf.noise, bins}, {wf.den_prev, bins}, gain}, wf.vad);
  WeightGains(gain, wf.ear_weight);
  SumBands(wf.gain, mel_bank, wf.mel_scratch);
  for (int32_t& g : gain.first(bands)) g = g < 0 ? kOneQ30 : g;
  MelIdct(gain.first(bands), wf.mel_scratch, wf.idct_basis, wf.num_bands);
  WindowImpulse(wf.gain, wf.filt_win, wf.impulse, wf.filt_len);
  const std::span<int16_t> out(wf.out_frame, static_cast<size_t>(wf.frame_len));
  if (wf.frame_past + wf.frame_len == wf.frame_now) {  // speed only
    ConvolveAdjacent(wf.frame_now, wf.impulse, out, wf.filt_len / 2);
  } else {
    Convolve(wf.frame_now, wf.frame_past, wf.impulse, out, wf.filt_len / 2);
  }
}

}  // namespace vask

extern "C" {

void windowing(const int16_t* sig, const int32_t* win, int64_t* out, int32_t nwin, int32_t nfft) {
  if (sig == nullptr || win == nullptr || out == nullptr || nfft <= 0) return;
  vask::ApplyWindow(sig, {win, static_cast<size_t>(std::max(nwin, 0))}, {out, static_cast<size_t>(nfft)});
}

void es_smoothed_psd(const int64_t* p, int64_t* out, int32_t m) {
  if (p != nullptr && out != nullptr && m >= 0) vask::SmoothPairs(p, {out, static_cast<size_t>(m) + 1});
}

void DoFilterWindowing(const int32_t* h, const int32_t* win, int32_t* out, int32_t len) {
  if (h != nullptr && win != nullptr && out != nullptr) vask::WindowImpulse(h, win, out, len);
}

void ApplyWF(const int16_t* now, const int16_t* past, const int32_t* h, int16_t* out, int32_t n,
             int32_t half) {
  if (now == nullptr || past == nullptr || h == nullptr || out == nullptr || n <= 0) return;
  if (half < 0 || half > n) return;  // the past holds n samples
  vask::Convolve(now, past, h, {out, static_cast<size_t>(n)}, half);
}

void WienerFiltering(wiener_filt* wf, mel_band* mel_fb, int32_t** cc1, int32_t** ss1, int32_t** cc3,
                     int32_t** ss3) {
  if (wf == nullptr || mel_fb == nullptr || wf->fft_buf == nullptr) return;
  if (cc1 == nullptr || ss1 == nullptr || cc3 == nullptr || ss3 == nullptr) return;
  const vask::DefaultFloatMode float_mode;
  vask::FilterFrame(*wf, *mel_fb, {cc1, ss1, cc3, ss3});
}

}  // extern "C"
