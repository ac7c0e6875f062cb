// spectrum -> log energy -> history -> voicing -> voice activity -> start and end -> queues -> verdict.
// In: 320 noise-reduced samples (int16) and the same pre-emphasised (int32, samples << 16). Out: frames of
// 160 samples and spectra of 257 powers (int64) in the queues, three frames behind the current one.
#include "epd/endpoint.h"

#include <algorithm>
#include <array>
#include <cstdlib>

#include "dsp/arith.h"
#include "dsp/fft.h"
#include "dsp/float_mode.h"
#include "dsp/power_spectrum.h"
#include "dsp/queue.h"
#include "dsp/ring.h"
#include "dsp/sample_range.h"
#include "dsp/sizes.h"
#include "epd/detector_window.h"
#include "epd/endpoint_tracker.h"
#include "epd/energy.h"
#include "epd/levels.h"
#include "epd/vad.h"

namespace vask {
namespace {

using Spectrum = std::array<int64_t, kFftSize>;  // points of the transform, then 257 powers

constexpr int32_t kSpectrumShift = 10;
constexpr int32_t kSaturatedEnergy = 268435455;  // 2147483647 >> 3
constexpr int32_t kStrongPower = 1000000000;
constexpr int32_t kStrongFirst = 3, kStrongEnd = 129;  // bins
constexpr int32_t kFirstCallRise = Units(30);

// History slots: 0 is the oldest of 70 frames; slot j holds frame frame_index - 70 + j.
constexpr int32_t kDelayedSlot = 67;  // the frame that is delivered while speech goes on
constexpr int32_t kStartSlot = 58;    // the detected start, in the call that detects it
constexpr int32_t kMargin = 35;       // frames delivered before the detected start

constexpr int32_t kFramesBack = 1 << 30;

constexpr int32_t kLeastLength = 10;           // frames of an acceptable segment
constexpr int64_t kLeastVoicedQ30 = 53687090;  // and 5 % of them voiced, or nearly

// Power spectrum of the pre-emphasised window, scaled down like the samples of the energies.
void TransformWindow(energy_epd_prm& prm, const fft_tables& twiddles, Spectrum& spectrum) {
  Samples512 windowed;
  WindowEmphasized(prm.win_emph, prm.hamming, prm.win_len, windowed.data());
  std::fill(windowed.begin() + prm.win_len, windowed.end(), 0);
  PowerOfWindow(windowed, kSpectrumShift, twiddles, spectrum);
  ScalePowers(spectrum.data(), 2 * prm.profile.sample_shift, prm.power_spec);
}

void CountStrongBins(energy_epd_prm& prm) {
  int32_t strong = 0;
  for (int32_t k = kStrongFirst; k < kStrongEnd; ++k) strong += prm.power_spec[k] > kStrongPower;
  prm.vad.strong_low_bins = prm.vad.strong_low_bins_copy = static_cast<int16_t>(strong);
}

// The window's energy and the band's energy together, quantized.
void MeasureLogEnergy(std::span<const int16_t> window, energy_epd_prm& prm) {
  prm.win_energy = SquareEnergy(window, prm.profile.sample_shift);
  const int32_t window_term = prm.win_energy == kMax32 ? kSaturatedEnergy : prm.win_energy >> 3;
  const int32_t energy = LimitTo32(int64_t{NoiseRobustEnergy(prm.power_spec)} + window_term);
  prm.vad.log_energy = prm.uv.log_energy = QuantizeEnergy(energy >> prm.profile.energy_shift);
}

// The first half of the window is the previous frame.
void AppendHistory(std::span<const int16_t> window, const Spectrum& spectrum, energy_epd_prm& prm) {
  WriteRing(prm.sample_hist, window.first(static_cast<size_t>(prm.frame_shift)));
  WriteRing(prm.spectrum_hist, std::span(spectrum).first(kSpectrumBins));
}

int32_t NoiseReference(energy_epd_prm& prm) {
  // In the first call nothing has been learned: the level that it starts from is raised.
  if (prm.engine_frames == 2) prm.vad.noise_level = WrapAdd(prm.vad.noise_level, kFirstCallRise);
  return prm.uv_noise_ref = prm.vad.noise_level;
}

// Deliver one frame of the history and count its voicing decision.
void CopySlot(int32_t slot, energy_epd_prm& prm, sin_buff& speech_queue, in64_buff& spectrum_queue) {
  const auto samples = FrameOf(prm.sample_hist, slot, prm.frame_shift);
  WriteQueue(speech_queue, samples);
  WriteQueue(spectrum_queue, FrameOf(prm.spectrum_hist, slot, kSpectrumBins));
  const SampleRange range = WidenedBy(samples, {0, 0});
  for (const int32_t extreme : {range.low, range.high}) {  // the larger magnitude is one of theirs
    prm.vad.peak_amplitude = std::max(prm.vad.peak_amplitude, std::abs(extreme >> prm.profile.sample_shift));
  }
  const bool is_voiced = FrameOf(prm.uv.uv_hist, slot, 1)[0] == 1;
  CountUp(is_voiced ? prm.uv.voiced_frames : prm.uv.unvoiced_frames);
}

// The frames from the margin before the start up to the one before the delayed slot.
void Backfill(energy_epd_prm& prm, sin_buff& speech_queue, in64_buff& spectrum_queue) {
  prm.speech_start_flag = 1;
  prm.backfill_pending = 0;
  prm.vad.peak_amplitude = 0;
  const int32_t margin = std::clamp(prm.start_frame, 0, kMargin);
  for (int32_t slot = kStartSlot - margin; slot < kDelayedSlot; ++slot) {
    CopySlot(slot, prm, speech_queue, spectrum_queue);
  }
}

// Accept an ended segment that is long enough and voiced enough, else ask for a reset.
void Judge(energy_epd_prm& prm) {
  const int32_t length = WrapSub(prm.end_frame, prm.start_frame);
  const bool accepted = IsUtterance(length, prm.uv.voiced_frames);
  prm.end_found = accepted ? 1 : 0;
  prm.reset_request = accepted ? 0 : 1;
}

// After 248 days the count goes back, and the frames of the segment with it: what matters is how far they are
// apart.
void CountFrame(energy_epd_prm& prm) {
  if (prm.frame_index == kMax32) {
    prm.frame_index -= kFramesBack;
    if (prm.speech_on == 1) prm.start_frame = WrapSub(prm.start_frame, kFramesBack);
    if (prm.speech_end == 1) prm.end_frame = WrapSub(prm.end_frame, kFramesBack);
  }
  CountUp(prm.frame_index);
}

void TrackSegment(energy_epd_prm& prm, int32_t frame) {
  TrackEndpoints<int16_t>(
      {prm.speech_on, prm.speech_end, prm.start_frame, prm.end_frame, prm.transitions, prm.prev_vad},
      prm.vad.vad_flag, frame, prm.profile.hangover_frames);
}

}  // namespace

bool IsLongEnough(int32_t length) { return length >= kLeastLength; }

bool IsUtterance(int32_t length, int32_t voiced_frames) {
  const int64_t voiced_q30 = int64_t{voiced_frames} * kOneQ30 / AtLeastOne(length);
  return IsLongEnough(length) && voiced_q30 > kLeastVoicedQ30;
}

void DetectEndpoint(energy_epd_prm& prm, sin_buff& speech_queue, in64_buff& spectrum_queue,
                    const fft_tables& twiddles, VoicingFeatures wanted) {
  CountFrame(prm);
  const std::span<const int16_t> window(prm.win_samples, static_cast<size_t>(prm.win_len));
  Spectrum spectrum;
  TransformWindow(prm, twiddles, spectrum);
  CountStrongBins(prm);
  MeasureLogEnergy(window, prm);
  AppendHistory(window, spectrum, prm);

  const int32_t noise = NoiseReference(prm);
  DecideVoicing(window, {prm.power_spec, static_cast<size_t>(prm.num_bins)}, prm.uv, noise, noise, prm.vad,
                prm.profile, wanted);
  ApplyOnsetAndHangover(DecideOnEnergy(prm.vad, prm), prm);
  TrackSegment(prm, prm.frame_index);
  if (prm.speech_on != 1) return;

  if (prm.backfill_pending == 1) Backfill(prm, speech_queue, spectrum_queue);
  if (prm.speech_end == 1) {
    Judge(prm);
  } else {
    CopySlot(kDelayedSlot, prm, speech_queue, spectrum_queue);
  }
}

}  // namespace vask

extern "C" {

void epd_based_on_energy_feature(energy_epd_prm* prm, sin_buff* out_samples, in64_buff* out_spectra,
                                 int32_t** cc1, int32_t** ss1, int32_t** cc3, int32_t** ss3) {
  if (prm == nullptr || out_samples == nullptr || out_spectra == nullptr) return;
  if (cc1 == nullptr || ss1 == nullptr || cc3 == nullptr || ss3 == nullptr) return;
  if (prm->win_samples == nullptr || prm->win_emph == nullptr) return;  // never created, or released
  const vask::DefaultFloatMode float_mode;
  vask::DetectEndpoint(*prm, *out_samples, *out_spectra, {cc1, ss1, cc3, ss3}, vask::VoicingFeatures::kAll);
}

void energy_EPD(energy_epd_prm* prm, int32_t frame) {
  if (prm != nullptr) vask::TrackSegment(*prm, frame);
}

}  // extern "C"
