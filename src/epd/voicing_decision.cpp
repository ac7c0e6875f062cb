// Voiced or unvoiced. In: 320 samples, 257 powers, log energy and noise level in Q16 units. Out: uv_raw,
// uv_smoothed and their histories.
#include "epd/voicing_decision.h"

#include <vask/voicing.h>

#include <algorithm>
#include <array>

#include "dsp/arith.h"
#include "dsp/filters.h"
#include "dsp/float_mode.h"
#include "dsp/ring.h"
#include "dsp/sizes.h"
#include "epd/levels.h"
#include "epd/voicing_crossings.h"
#include "epd/voicing_lags.h"
#include "epd/voicing_spectral.h"
#include "epd/voicing_temporal.h"

namespace vask {
namespace {

constexpr int32_t kStrongBins = 96;
constexpr int64_t kMostVotes = 10;

// How far above the noise voiced speech must be, whole units.
int32_t EnergyMargin(int32_t peak, int32_t vad_threshold) {
  if (peak > 10000) return WrapAdd(vad_threshold, 25);
  if (peak > 5000) return WrapAdd(vad_threshold, 20);
  if (peak > 2000) return WrapAdd(vad_threshold, 15);
  return WrapAdd(vad_threshold, 10);
}

constexpr bool IsBetween(int32_t value, int32_t low, int32_t high) { return low < value && value < high; }

void MeasureCrossings(std::span<const int16_t> window, uv_prm& uv) {
  uv.clip_crossings = CountClipCrossings(window, ClippingLevel(window));
  uv.zcr = CountZeroCrossings(window, uv.uv_scratch);
}

void MeasureTonality(std::span<const int32_t> power, uv_prm& uv) {
  std::array<int32_t, kTonalityBands> band;
  uv.tonality = BandTonality(power, kTonalityBands, band.data());
}

void MeasureEntropy(std::span<const int32_t> power, uv_prm& uv) {
  std::array<int32_t, kEntropyBands> band, weight;
  uv.spectral_entropy = WrapNeg(WeightedBandEntropy(power, kEntropyBands, band.data(), weight.data()));
}

void MeasureLagFeatures(std::span<const int16_t> window, uv_prm& uv) {
  const LagFeatures lags = MeasureLags(window);
  uv.yin_voicing = lags.yin_voicing;
  uv.amdf_min = lags.amdf_min;
  uv.peak_valley_ratio = lags.peak_valley_ratio;
}

bool IsEnough(int32_t votes, const epd_profile& profile) {
  return votes * int64_t{kOneQ30} / kMostVotes >= profile.uv_vote_min;
}

// Whether `missing` more votes can change the decision.
bool IsOpen(int32_t votes, int32_t missing, const epd_profile& profile) {
  return !IsEnough(votes, profile) && IsEnough(votes + missing, profile);
}

// Ten votes, at least three of them given. The costly features come last.
bool WinsVote(std::span<const int16_t> window, std::span<const int32_t> power, uv_prm& uv,
              const energy_vad_prm& vad, const epd_profile& profile, VoicingFeatures wanted) {
  MeasureCrossings(window, uv);
  MeasureTonality(power, uv);
  int32_t votes = IsBetween(uv.zcr, 10, 100) ? 4 : 3;
  votes += IsBetween(uv.clip_crossings, 5, 70);
  votes += vad.strong_low_bins > kStrongBins;
  votes += vad.strong_low_bins_copy > kStrongBins;
  votes += uv.tonality > profile.tonality_min;
  const bool wants_all = wanted == VoicingFeatures::kAll;
  if (wants_all || IsOpen(votes, 4, profile)) {  // speed only
    MeasureEntropy(power, uv);
    votes += uv.spectral_entropy < profile.entropy_max;
  }
  if (wants_all || IsOpen(votes, 3, profile)) {  // speed only
    MeasureLagFeatures(window, uv);
    votes += uv.yin_voicing > profile.yin_min;
    votes += IsBetween(uv.amdf_min, profile.amdf_low, profile.amdf_high);
    votes += IsBetween(uv.peak_valley_ratio, profile.pv_low, profile.pv_high);
  }
  return IsEnough(votes, profile);
}

bool IsEnergyAbove(int32_t energy, int32_t reference, int32_t margin) {
  return WrapSub(energy, reference) > margin;
}

bool IsVoiced(std::span<const int16_t> window, std::span<const int32_t> power, uv_prm& uv, int32_t noise,
              int32_t noise_ref, const energy_vad_prm& vad, const epd_profile& profile,
              VoicingFeatures wanted) {
  const int32_t margin = EnergyMargin(vad.peak_amplitude, profile.vad_threshold);
  const int32_t reference =
      std::max(BaseLevel(noise), WrapAdd(noise_ref, WrapMul(profile.uv_energy_offset, kOneQ16)));
  if (!IsEnergyAbove(uv.log_energy, reference, WrapMul(margin, kOneQ16))) return false;
  uv.high_low_ratio = HighToLowRatio(power);
  if (uv.high_low_ratio >= profile.h2l_ratio_max) return false;
  return WinsVote(window, power, uv, vad, profile, wanted);
}

}  // namespace

void DecideVoicing(std::span<const int16_t> window, std::span<const int32_t> power, uv_prm& uv, int32_t noise,
                   int32_t noise_ref, const energy_vad_prm& vad, const epd_profile& profile,
                   VoicingFeatures wanted) {
  uv.uv_raw = IsVoiced(window, power, uv, noise, noise_ref, vad, profile, wanted) ? 1 : 0;
  WriteRing(uv.uv_raw_hist, uv.uv_raw);
  uv.uv_smoothed = static_cast<int16_t>(Majority(SlotsOf(uv.uv_raw_hist)));
  WriteRing(uv.uv_hist, uv.uv_smoothed);
  if (uv.uv_smoothed == 1) {
    uv.frames_since_voiced = 0;
  } else {
    CountUp(uv.frames_since_voiced);
  }
}

void ExtractVoicingFeatures(std::span<const int16_t> window, std::span<const int32_t> power, uv_prm& uv) {
  MeasureCrossings(window, uv);
  MeasureTonality(power, uv);
  MeasureEntropy(power, uv);
  MeasureLagFeatures(window, uv);
}

}  // namespace vask

extern "C" {

void uv_detection(const int16_t* s, int32_t n, const int32_t* P, int32_t bins, energy_epd_prm* prm,
                  int32_t noise, int32_t /*vad_raw*/, int32_t noise_ref, energy_vad_prm* vad,
                  const epd_profile* profile) {
  if (s == nullptr || P == nullptr || prm == nullptr || vad == nullptr || profile == nullptr) return;
  if (n < 1 || n > vask::kWindow || bins < 1 || !vask::IsUsable(prm->uv.uv_raw_hist)) return;
  const vask::DefaultFloatMode float_mode;
  vask::DecideVoicing({s, static_cast<size_t>(n)}, {P, static_cast<size_t>(bins)}, prm->uv, noise, noise_ref,
                      *vad, *profile, vask::VoicingFeatures::kAll);
}

int32_t uv_decision_based_on_energy(int32_t energy, int32_t reference, int32_t margin) {
  return vask::IsEnergyAbove(energy, reference, margin) ? 1 : 0;
}

void uv_feat_ext(const int16_t* s, int32_t n, const int32_t* P, int32_t bins, uv_prm* prm) {
  if (s == nullptr || P == nullptr || prm == nullptr || n < 1 || n > vask::kWindow || bins < 1) return;
  const vask::DefaultFloatMode float_mode;
  vask::ExtractVoicingFeatures({s, static_cast<size_t>(n)}, {P, static_cast<size_t>(bins)}, *prm);
}

}  // extern "C"
