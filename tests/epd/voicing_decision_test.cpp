// The vote with all features and with those alone that can change it.
#include "epd/voicing_decision.h"

#include <gtest/gtest.h>
#include <vask/epd.h>
#include <vask/voicing.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "dsp/arith.h"
#include "dsp/sizes.h"
#include "support/inputs.h"

namespace vask::test {
namespace {

constexpr int32_t kStale = -12345;  // no feature has this value
using Powers = std::array<int32_t, kSpectrumBins>;

// A spectrum as even or uneven as the samples are.
Powers PowersFrom(const Samples& samples) {
  Powers power;
  std::transform(samples.begin(), samples.begin() + kSpectrumBins, power.begin(),
                 [](int32_t s) { return 1 + 5000 * std::abs(s); });
  return power;
}

class VoicingDecision : public testing::Test {
 protected:
  VoicingDecision() {
    EXPECT_EQ(init_energy_epd_prm(&prm_, kFrame), 1);
    prm_.profile.h2l_ratio_max = kMax32;
  }
  ~VoicingDecision() override { close_energy_epd_prm(&prm_); }

  // Past the gate of the energy, with features that no measurement left behind.
  const uv_prm& Decide(const Samples& samples, VoicingFeatures wanted) {
    uv_prm& uv = prm_.uv;
    uv.log_energy = 300 * kOneQ16;
    uv.tonality = uv.spectral_entropy = uv.yin_voicing = uv.amdf_min = uv.peak_valley_ratio = kStale;
    const Powers power = PowersFrom(samples);
    DecideVoicing({samples.data(), kWindow}, power, uv, 0, 0, prm_.vad, prm_.profile, wanted);
    return uv;
  }

  energy_epd_prm prm_ = {};
};

TEST_F(VoicingDecision, IsTheSameWithoutTheFeaturesThatCannotChangeIt) {
  // By decision: windows, those without an entropy, without lags.
  int32_t decided[2] = {}, without_entropy[2] = {}, without_lags[2] = {};
  for (const Input& input : Inputs(kWindow, 40)) {
    for (const int32_t likes : {0, 1}) {  // neither of two kinds of votes, or both of them
      prm_.vad.strong_low_bins = prm_.vad.strong_low_bins_copy = static_cast<int16_t>(96 + likes);
      prm_.profile.entropy_max = likes * kOneQ16;
      for (int32_t tenths = 0; tenths <= 11; ++tenths) {
        for (const int32_t past : {0, 1}) {  // with so many votes, or not even with them
          prm_.profile.uv_vote_min = static_cast<int32_t>(tenths * int64_t{kOneQ30} / 10 + past);
          const uv_prm all = Decide(input.samples, VoicingFeatures::kAll);
          const uv_prm& uv = Decide(input.samples, VoicingFeatures::kDeciding);
          ASSERT_EQ(uv.uv_raw, all.uv_raw) << input.name << ", " << tenths << " votes, " << likes;
          ASSERT_EQ(uv.tonality, all.tonality) << input.name;
          ++decided[uv.uv_raw];
          without_entropy[uv.uv_raw] += uv.spectral_entropy == kStale;
          without_lags[uv.uv_raw] += uv.yin_voicing == kStale;
        }
      }
    }
  }
  for (const int decision : {0, 1}) {
    EXPECT_GT(without_entropy[decision], 0);
    EXPECT_GT(without_lags[decision], without_entropy[decision]);
    EXPECT_GT(decided[decision], without_lags[decision]);
  }
}

TEST_F(VoicingDecision, MeasuresEveryFeatureForACaller) {
  const Samples samples = Noise(kWindow, 3000, 5);
  const Powers power = PowersFrom(samples);
  uv_prm features = {};
  uv_feat_ext(samples.data(), kWindow, power.data(), kSpectrumBins, &features);
  for (const int32_t least : {0, kOneQ30}) {  // decided before any vote is counted, in either way
    prm_.profile.uv_vote_min = least;
    prm_.uv.log_energy = 300 * kOneQ16;
    prm_.uv.spectral_entropy = prm_.uv.yin_voicing = prm_.uv.amdf_min = prm_.uv.peak_valley_ratio = kStale;
    uv_detection(samples.data(), kWindow, power.data(), kSpectrumBins, &prm_, 0, 0, 0, &prm_.vad,
                 &prm_.profile);
    EXPECT_EQ(prm_.uv.spectral_entropy, features.spectral_entropy);
    EXPECT_EQ(prm_.uv.yin_voicing, features.yin_voicing);
    EXPECT_EQ(prm_.uv.amdf_min, features.amdf_min);
    EXPECT_EQ(prm_.uv.peak_valley_ratio, features.peak_valley_ratio);
  }
}

}  // namespace
}  // namespace vask::test
