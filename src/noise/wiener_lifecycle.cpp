// Records of the noise reduction at 16 kHz: sizes, storage, windows and weights. Spectra are int64 without a
// fixed Q (they scale with the input); windows, gains and weights are Q30.
#include "noise/wiener_lifecycle.h"

#include <algorithm>

#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/ring.h"
#include "dsp/sizes.h"
#include "dsp/tables/ear.h"
#include "dsp/windows.h"
#include "noise/mel_bank.h"
#include "noise/mel_idct.h"

namespace vask {
namespace {

constexpr int32_t kImpulseLen = 37;  // filt_len + 1 + filt_len / 2; the first 25 are taps
constexpr int32_t kShortRing = 2;    // frames
constexpr int32_t kLongRing = 20;

void SetSizes(wiener_filt& wf) {
  wf.frame_len = kFrame;
  wf.fft_order = kFftOrder;
  wf.fft_size = kFftSize;
  wf.num_bins = kSpectrumBins;
  wf.win_offset = 120;
  wf.win_len = 400;
  wf.filt_len = 24;
  wf.num_bands = kMelBands;
  wf.num_psd_bins = kSmoothedBins;
  wf.frame_count = 0;
  wf.sig_hist_len = 4 * kFrame;
}

void NullPointers(wiener_filt& wf) {
  wf.fft_buf = nullptr;
  wf.hann_win = wf.filt_win = nullptr;
  wf.sig_hist = wf.out_frame = wf.frame_now = wf.frame_past = nullptr;
  wf.psd_prev = wf.psd_mean = wf.psd_cur = wf.noise = wf.den_prev = nullptr;
  wf.gain = wf.impulse = wf.ear_weight = nullptr;
  wf.idct_basis = nullptr;
  wf.mel_amp = wf.mel_scratch = nullptr;
}

// Every array of the record with its length, in one place.
template <typename Do>
void ForEachArray(wiener_filt& wf, Do action) {
  action(wf.fft_buf, wf.fft_size);
  action(wf.hann_win, wf.win_len);
  action(wf.filt_win, wf.filt_len);
  action(wf.sig_hist, wf.sig_hist_len);
  action(wf.out_frame, wf.frame_len);
  for (int64_t** spectrum :
       {&wf.psd_prev, &wf.psd_mean, &wf.psd_cur, &wf.noise, &wf.den_prev, &wf.mel_scratch, &wf.mel_amp}) {
    action(*spectrum, wf.num_psd_bins);
  }
  action(wf.gain, wf.num_psd_bins);
  action(wf.impulse, kImpulseLen);
  action(wf.ear_weight, wf.num_bins);
}

bool AllocateArrays(wiener_filt& wf) {
  bool complete = true;
  ForEachArray(wf, [&](auto*& array, int32_t length) {
    array = NewZeroed<std::remove_reference_t<decltype(*array)>>(length);
    complete = complete && array != nullptr;
  });
  wf.idct_basis = NewZeroed<int32_t*>(wf.num_bands);
  if (wf.idct_basis == nullptr) return false;
  for (int32_t tap = 0; tap < wf.num_bands; ++tap) {
    wf.idct_basis[tap] = NewZeroed<int32_t>(wf.num_bands);
    complete = complete && wf.idct_basis[tap] != nullptr;
  }
  return complete;
}

template <typename T>
void Zero(T* array, int32_t length) {
  if (array != nullptr) std::fill_n(array, length, T{0});
}

bool MakeRings(int64_rbuf*& rings, int32_t bands, int32_t size) {
  rings = NewZeroed<int64_rbuf>(bands);
  if (rings == nullptr) return false;
  return std::all_of(rings, rings + bands, [&](int64_rbuf& ring) { return MakeRing(ring, size); });
}

void ReleaseRings(int64_rbuf*& rings, int32_t bands) {
  if (rings == nullptr) return;
  for (int32_t b = 0; b < bands; ++b) Release(rings[b].data);
  Release(rings);
}

}  // namespace

bool CreateWiener(wiener_filt& wf) {
  wf = {};
  // All three are attempted, so that each reports its own failure.
  const bool parameters = CreateWienerParameters(wf, kSupportedRate);
  const bool spectrum = CreateSpectrum(wf.spectrum, kMelBands);
  const bool gsap = CreateGsapData(wf.gsap_data, kMelBands);
  ClearVad(wf.vad);
  if (!parameters || !spectrum || !gsap || !BuildMelBank(wf.mel_fb, kMelBands, mel_filt_data)) {
    ReleaseWiener(wf);
    return false;
  }
  CopyMelIdctBasis({wf.idct_basis, static_cast<size_t>(kMelBands)});
  return true;
}

bool CreateWienerParameters(wiener_filt& wf, int32_t rate) {
  if (rate != kSupportedRate) {
    Say(Message::kFailure, "\nERROR: Sampling Rate can NOT be supported(%d Hz)\n", rate);
    return false;
  }
  SetSizes(wf);
  NullPointers(wf);
  if (!AllocateArrays(wf)) {
    Say(Message::kFailure, "ERROR: can't initialize Wiener Filter Parameters\n");
    return false;
  }
  CopyHanning({wf.hann_win, static_cast<size_t>(wf.win_len)});
  MakeFilterWindow({wf.filt_win, static_cast<size_t>(wf.filt_len)});
  wf.frame_now = wf.sig_hist + wf.frame_len;
  wf.frame_past = wf.sig_hist;
  std::copy(kEarWeightQ30.begin(), kEarWeightQ30.end(), wf.ear_weight);
  return true;
}

bool CreateSpectrum(wiener_spectrum& spectrum, int32_t bands) {
  spectrum = {};
  spectrum.num_bands = std::max(bands, 0);
  bool complete = bands >= 0 && MakeRings(spectrum.ring_short, bands, kShortRing) &&
                  MakeRings(spectrum.ring_long, bands, kLongRing);
  for (int64_t** values : {&spectrum.sig_band, &spectrum.clean_band, &spectrum.noise_band}) {
    *values = complete ? NewZeroed<int64_t>(bands) : nullptr;
    complete = complete && *values != nullptr;
  }
  if (!complete) Say(Message::kFailure, "\nERROR: WIENER SPECTRUM memory allocation\n");
  return complete;
}

bool CreateGsapData(wiener_gsap_data& data, int32_t bands) {
  data = {.lratio = NewZeroed<int64_t>(bands), .vad_flag = 0, .gsap = kGsapAbsent};
  if (data.lratio == nullptr) Say(Message::kFailure, "\nERROR: WIENER_GSAP_PARAM initialization\n");
  return data.lratio != nullptr;
}

void ClearWiener(wiener_filt& wf) {
  ClearWienerParameters(wf);
  ClearSpectrum(wf.spectrum, wf.num_bands);
  ClearGsapData(wf.gsap_data);
  ClearVad(wf.vad);
}

void ClearWienerParameters(wiener_filt& wf) {
  wf.frame_count = 0;
  Zero(wf.fft_buf, wf.fft_size);
  Zero(wf.sig_hist, wf.sig_hist_len);
  Zero(wf.out_frame, wf.frame_len);
  for (int64_t* values : {wf.psd_prev, wf.psd_mean, wf.psd_cur, wf.noise, wf.den_prev, wf.mel_amp}) {
    Zero(values, wf.num_psd_bins);
  }
  Zero(wf.gain, wf.num_psd_bins);
  Zero(wf.impulse, kImpulseLen);
}

void ClearSpectrum(wiener_spectrum& spectrum, int32_t bands) {
  for (int64_t* values : {spectrum.sig_band, spectrum.clean_band, spectrum.noise_band}) Zero(values, bands);
  for (int64_rbuf* rings : {spectrum.ring_short, spectrum.ring_long}) {
    if (rings != nullptr) std::for_each_n(rings, bands, [](int64_rbuf& ring) { ClearRing(ring); });
  }
}

void ClearGsapData(wiener_gsap_data& data) {
  data.gsap = kGsapAbsent;
  data.vad_flag = 0;
}

void ClearVad(wiener_vad& vad) { vad = {}; }

void ForgetSegment(wiener_filt& wf) {
  SeedBandNoise(wf.spectrum, wf.num_bands);
  ClearGsapData(wf.gsap_data);
  ForgetSegment(wf.vad);
}

void SeedBandNoise(wiener_spectrum& spectrum, int32_t bands) {
  if (spectrum.ring_long == nullptr || spectrum.noise_band == nullptr) return;
  for (int32_t b = 0; b < bands; ++b) {
    if (!IsUsable(spectrum.ring_long[b])) continue;
    // The mean over the ring, each share truncated toward zero; slots never written count as 0.
    int64_t mean = 0;
    for (const int64_t amplitude : SlotsOf(spectrum.ring_long[b])) mean += amplitude / kLongRing;
    spectrum.noise_band[b] = mean;
  }
}

void ForgetSegment(wiener_vad& vad) {
  vad.vad_flag = 0;
  vad.hangover = 0;
  vad.speech_run = 0;
}

void ReleaseWiener(wiener_filt& wf) {
  ReleaseWienerParameters(wf);
  ReleaseSpectrum(wf.spectrum);
  ReleaseGsapData(wf.gsap_data);
  ReleaseMelBank(wf.mel_fb, kMelBands);
}

void ReleaseWienerParameters(wiener_filt& wf) {
  ForEachArray(wf, [](auto*& array, int32_t) { Release(array); });
  if (wf.idct_basis != nullptr) {
    for (int32_t tap = 0; tap < wf.num_bands; ++tap) Release(wf.idct_basis[tap]);
  }
  Release(wf.idct_basis);
  wf.frame_now = wf.frame_past = nullptr;
}

void ReleaseSpectrum(wiener_spectrum& spectrum) {
  ReleaseRings(spectrum.ring_short, spectrum.num_bands);
  ReleaseRings(spectrum.ring_long, spectrum.num_bands);
  for (int64_t** values : {&spectrum.sig_band, &spectrum.clean_band, &spectrum.noise_band}) Release(*values);
}

void ReleaseGsapData(wiener_gsap_data& data) { Release(data.lratio); }

}  // namespace vask

extern "C" {

int32_t init_wiener_filt(wiener_filt* wf) { return wf != nullptr && vask::CreateWiener(*wf) ? 1 : 0; }

int32_t init_wiener_filt_param(wiener_filt* wf, int32_t rate) {
  return wf != nullptr && vask::CreateWienerParameters(*wf, rate) ? 1 : 0;
}

int32_t init_wiener_spectrum(wiener_spectrum* spec, int32_t n) {
  return spec != nullptr && vask::CreateSpectrum(*spec, n) ? 1 : 0;
}

int32_t init_wiener_gsap_data(wiener_gsap_data* g, int32_t n) {
  return g != nullptr && vask::CreateGsapData(*g, n) ? 1 : 0;
}

void wiener_filt_setting(wiener_filt* wf) {
  if (wf != nullptr) vask::ClearWiener(*wf);
}

void wiener_filt_param_setting(wiener_filt* wf) {
  if (wf != nullptr) vask::ClearWienerParameters(*wf);
}

void wiener_spectrum_setting(wiener_spectrum* spec, int32_t n) {
  if (spec != nullptr) vask::ClearSpectrum(*spec, std::min(n, spec->num_bands));
}

void wiener_gsap_data_setting(wiener_gsap_data* g, int32_t /*n*/) {
  if (g != nullptr) vask::ClearGsapData(*g);
}

void wiener_vad_setting(wiener_vad* v) {
  if (v != nullptr) vask::ClearVad(*v);
}

void wiener_filt_resetting(wiener_filt* wf) {
  if (wf != nullptr) vask::ForgetSegment(*wf);
}

void wiener_spectrum_resetting(wiener_spectrum* spec, int32_t n) {
  if (spec != nullptr) vask::SeedBandNoise(*spec, std::min(n, spec->num_bands));
}

void wiener_vad_resetting(wiener_vad* v) {
  if (v != nullptr) vask::ForgetSegment(*v);
}

void close_wiener_filt(wiener_filt* wf) {
  if (wf != nullptr) vask::ReleaseWiener(*wf);
}

void close_wiener_filt_param(wiener_filt* wf) {
  if (wf != nullptr) vask::ReleaseWienerParameters(*wf);
}

void close_wiener_spectrum(wiener_spectrum* spec) {
  if (spec != nullptr) vask::ReleaseSpectrum(*spec);
}

void close_wiener_gsap_data(wiener_gsap_data* g) {
  if (g != nullptr) vask::ReleaseGsapData(*g);
}

}  // extern "C"
