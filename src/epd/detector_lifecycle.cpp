// Records of the detector, its frame voice-activity decision and its voicing decision.
#include "epd/detector_lifecycle.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/ring.h"
#include "dsp/sizes.h"
#include "dsp/windows.h"
#include "epd/profiles.h"
#include "epd/voicing_temporal.h"

namespace vask {
namespace {

constexpr int32_t kMedianFrames = 7;
constexpr int32_t kEnergyFrames = 10;

// The fields of the current segment.
void ClearSegmentFields(energy_epd_prm& prm) {
  prm.speech_on = prm.speech_start_flag = prm.speech_end = 0;
  prm.start_frame = prm.end_frame = -1;
  prm.transitions = 0;
  prm.prev_vad = 0;
  prm.reset_request = prm.end_found = 0;
  prm.collect = 1;
  prm.backfill_pending = 1;
}

void ClearDecision(energy_vad_prm& vad) {
  vad.vad_raw = vad.vad_flag = 0;
  vad.onset_count = vad.hangover_count = 0;
  vad.speech_run = 0;
  vad.silence_run = 1;
}

void ClearVoicingState(uv_prm& uv) {
  uv.uv_raw = uv.uv_smoothed = 0;
  uv.voiced_frames = uv.unvoiced_frames = uv.frames_since_voiced = 0;
}

template <typename T>
void Zero(T* array, int32_t length) {
  if (array != nullptr && length > 0) std::fill_n(array, length, T{0});
}

bool AllocateDetector(energy_epd_prm& prm) {
  prm.win_samples = NewZeroed<int16_t>(prm.win_len);
  prm.win_emph = NewZeroed<int32_t>(prm.win_len);
  prm.hamming = NewZeroed<int32_t>(prm.win_len);
  prm.power_spec = NewZeroed<int32_t>(prm.fft_size);
  if (prm.hamming != nullptr) CopyHamming({prm.hamming, static_cast<size_t>(prm.win_len)});
  // The parts report for themselves, so each is attempted.
  const bool vad = CreateVad(prm.vad, prm.profile.vad_threshold);
  const bool voicing = CreateVoicing(prm.uv, kHistoryFrames);
  const bool samples = MakeRing(prm.sample_hist, kHistoryFrames * prm.frame_shift);
  const bool spectra = MakeRing(prm.spectrum_hist, kHistoryFrames * kSpectrumBins);
  return vad && voicing && samples && spectra && prm.win_samples != nullptr && prm.win_emph != nullptr &&
         prm.hamming != nullptr && prm.power_spec != nullptr;
}

}  // namespace

bool CreateDetector(energy_epd_prm& prm, int32_t frame_shift, const epd_profile& profile) {
  prm = {};
  prm.profile = profile;
  ClearSegmentFields(prm);
  prm.fft_size = kFftSize;
  prm.fft_order = kFftOrder;
  prm.num_bins = kSpectrumBins;
  prm.frame_shift = frame_shift;
  const bool fits = frame_shift > 0 && frame_shift <= kFrame;
  prm.win_len = fits ? static_cast<int16_t>(2 * frame_shift) : int16_t{0};
  if (fits && AllocateDetector(prm)) return true;
  ReleaseDetector(prm);
  Say(Message::kFailure, "ERROR: initializing energy EPD parameters\n");
  return false;
}

bool CreateVad(energy_vad_prm& vad, int32_t threshold) {
  ClearDecision(vad);
  vad.noise_level = 0;
  vad.vad_frames = 0;
  vad.vad_threshold = threshold;
  const bool energies = MakeRing(vad.energy_hist, kEnergyFrames);
  const bool decisions = MakeRing(vad.vad_raw_hist, kMedianFrames);
  if (energies && decisions) return true;
  ReleaseVad(vad);
  Say(Message::kFailure, "ERROR: memory allocation, init_energy_vad_prm(...)\n");
  return false;
}

bool CreateVoicing(uv_prm& uv, int32_t history_frames) {
  uv.min_lag = kMinLag;
  uv.max_lag = kMaxLag;
  ClearVoicingState(uv);
  const bool raw = MakeRing(uv.uv_raw_hist, kMedianFrames);
  const bool smoothed = MakeRing(uv.uv_hist, history_frames);
  if (raw && smoothed) return true;
  ReleaseVoicing(uv);
  Say(Message::kFailure, "ERROR: memory allocation, init_uv_prm(...)\n");
  return false;
}

void ClearDetector(energy_epd_prm& prm) {
  ClearSegmentFields(prm);
  prm.frame_index = prm.engine_frames = 0;
  ClearVad(prm.vad);
  ClearVoicing(prm.uv);
  ClearRing(prm.sample_hist);
  ClearRing(prm.spectrum_hist);
  Zero(prm.win_samples, prm.win_len);
  Zero(prm.win_emph, prm.win_len);
  Zero(prm.power_spec, prm.fft_size);
}

void ClearVad(energy_vad_prm& vad) {
  ClearDecision(vad);
  vad.peak_amplitude = 0;
  vad.noise_level = 0;
  vad.vad_frames = 0;
  ClearRing(vad.energy_hist);
  ClearRing(vad.vad_raw_hist);
}

void ClearVoicing(uv_prm& uv) {
  ClearVoicingState(uv);
  ClearRing(uv.uv_raw_hist);
  ClearRing(uv.uv_hist);
}

void ForgetSegment(energy_epd_prm& prm) {
  ClearSegmentFields(prm);
  ForgetSegment(prm.vad);
  ClearVoicing(prm.uv);
}

void ForgetSegment(energy_vad_prm& vad) {
  ClearDecision(vad);
  vad.peak_amplitude = 0;
  ClearRing(vad.vad_raw_hist);
}

void ReleaseDetector(energy_epd_prm& prm) {
  ReleaseVad(prm.vad);
  ReleaseVoicing(prm.uv);
  Release(prm.sample_hist.data);
  Release(prm.spectrum_hist.data);
  Release(prm.win_samples);
  Release(prm.win_emph);
  Release(prm.hamming);
  Release(prm.power_spec);
}

void ReleaseVad(energy_vad_prm& vad) {
  Release(vad.energy_hist.data);
  Release(vad.vad_raw_hist.data);
}

void ReleaseVoicing(uv_prm& uv) {
  Release(uv.uv_raw_hist.data);
  Release(uv.uv_hist.data);
}

}  // namespace vask

extern "C" {

int32_t init_energy_epd_prm_org(energy_epd_prm* prm, int32_t frame_shift) {
  return prm != nullptr && vask::CreateDetector(*prm, frame_shift, vask::kReferenceProfile) ? 1 : 0;
}

int32_t init_energy_vad_prm(energy_vad_prm* vad, int32_t threshold) {
  return vad != nullptr && vask::CreateVad(*vad, threshold) ? 1 : 0;
}

int32_t init_uv_prm(uv_prm* uv, int32_t hist_len) {
  return uv != nullptr && vask::CreateVoicing(*uv, hist_len) ? 1 : 0;
}

void close_energy_epd_prm(energy_epd_prm* prm) {
  if (prm != nullptr) vask::ReleaseDetector(*prm);
}

void close_energy_vad_prm(energy_vad_prm* vad) {
  if (vad != nullptr) vask::ReleaseVad(*vad);
}

void close_uv_prm(uv_prm* uv) {
  if (uv != nullptr) vask::ReleaseVoicing(*uv);
}

void energy_epd_setting(energy_epd_prm* prm) {
  if (prm != nullptr) vask::ClearDetector(*prm);
}

void energy_epd_resetting(energy_epd_prm* prm) {
  if (prm != nullptr) vask::ForgetSegment(*prm);
}

void energy_vad_setting(energy_vad_prm* vad) {
  if (vad != nullptr) vask::ClearVad(*vad);
}

void energy_vad_resetting(energy_vad_prm* vad) {
  if (vad != nullptr) vask::ForgetSegment(*vad);
}

void uv_prm_setting(uv_prm* uv) {
  if (uv != nullptr) vask::ClearVoicing(*uv);
}

}  // extern "C"
