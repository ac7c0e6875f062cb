// Voicing features against their definitions, and the vote.
#include <gtest/gtest.h>
#include <vask/voicing.h>

#include <algorithm>
#include <numeric>

#include "support/inputs.h"

namespace {

using vask::test::Cases, vask::test::kOneQ30, vask::test::Samples, vask::test::Values;

int32_t Low32(int64_t x) { return static_cast<int32_t>(static_cast<uint32_t>(x)); }
int64_t LargestIfNegative(int32_t x) { return x < 0 ? INT32_MAX : x; }

// Definitions on samples: the upper half of a product of samples << 16 is the product of the samples, and a
// difference in 32 bits is the difference in 16.
TEST(VoicingFeatures, OfTheSamplesFollowTheirDefinitions) {
  for (const auto& [name, s] : vask::test::Signals(320)) {
    Values x, a, r(268);
    for (int16_t v : s) x.push_back(v * 65536), a.push_back(Low32(int64_t{65536} * std::abs(v)));
    NormalizedAutocorrelationEst(a.data(), r.data(), 320, 32, 267);
    int64_t sum = 0, yin = INT32_MAX, amdf = INT32_MAX;
    for (size_t lag = 1; lag <= 267; ++lag) {
      int64_t squares = 0, magnitudes = 0, product = 0, energy = 0, energy_lag = 0;
      for (size_t i = 0; i + lag < 320; ++i) {
        const int64_t d = static_cast<int16_t>(s[i] - s[i + lag]), now = a[i] >> 16, later = a[i + lag] >> 16;
        squares += d * d, magnitudes += d == -32768 ? d : std::abs(d);
        product += now * later, energy += now * now, energy_lag += later * later;
      }
      const auto terms = static_cast<int32_t>(320 - lag);
      const int64_t difference = LargestIfNegative(Low32(squares)),
                    mean = LargestIfNegative(Low32(sum) / (320 - terms));
      sum += difference;
      if (lag < 32) continue;
      yin = std::min(yin, LargestIfNegative(Low32(difference * 65536 / std::max<int64_t>(mean, 1))));
      amdf = std::min(amdf, LargestIfNegative(Low32(magnitudes * 65536) / terms));
      // Energies are limited to 2^30, a coefficient to 1; Q30 in 32 bits.
      const double e = static_cast<double>(std::min<int64_t>(LargestIfNegative(Low32(energy)), 1 << 30));
      const double e_lag =
          static_cast<double>(std::min<int64_t>(LargestIfNegative(Low32(energy_lag)), 1 << 30));
      const double norm = std::sqrt(e * e_lag), r_lag = norm < Low32(product) ? 1
                                                        : norm == 0           ? 0
                                                                              : Low32(product) / norm;
      EXPECT_NEAR(std::remainder(r[lag] / kOneQ30 - r_lag, 4), 0, 2e-5) << name << ", lag " << lag;
    }
    EXPECT_EQ(VoicingProEst_YIN(x.data(), 32, 267, 320), std::clamp<int64_t>(65536 - yin, 0, 65536)) << name;
    EXPECT_EQ(AMDF_MinimumEst(x.data(), 320, 32, 267), amdf >> 3) << name;
    const auto [low, high] = std::minmax_element(r.begin() + 32, r.end());
    EXPECT_EQ(PeakValleyRatioEst(x.data(), 32, 267, 320),
              Low32(*high * int64_t{65536} / (*low < 1 ? 1 << 30 : *low)))
        << name;
  }
  Values periodic;  // of 7, the last lag
  for (int32_t i = 0; i < 50; ++i) periodic.push_back((i * i % 7) << 26);
  EXPECT_EQ((Values{VoicingProEst_YIN(periodic.data(), 2, 7, 50), AMDF_MinimumEst(periodic.data(), 50, 7, 7),
                    AMDF_MinimumEst(periodic.data(), 50, 5, 7)}),
            (Values{65536, 0, 0}));
  EXPECT_EQ(AMDF_MinimumEst(periodic.data(), 50, 5, 4), 268435455);
  const int16_t s[] = {0, 10, 0, -9};  // lags 1 and 2: 10/3 + 10/3 + 9/3, 0/2 + 19/2
  EXPECT_EQ(AMDF_MINIMUM(s, 4, 1, 2) + AMDF_MINIMUM(s, 4, 2, 2), 9 + 9);
}

TEST(VoicingFeatures, CountLevelsAndCrossings) {
  Samples s(320, 10), out(320);
  s[79] = -1000, s[80] = 2000, s[239] = 2000, s[240] = 500;
  EXPECT_EQ(clipping_level_es(s.data(), 320), 459);  // 0.46 of 1000, a little less
  s[319] = -32768, s[240] = 32767;
  EXPECT_EQ(clipping_level_es(s.data(), 320), 15072);
  // Levels of 9 samples; three quiet steps must lie before a change that counts.
  const std::pair<const char*, int32_t> cases[] = {{"+++++++++", 0}, {"+00000000", 1}, {"+0000----", 2},
                                                   {"+000-----", 1}, {"+000-+++0", 1}, {"+000-0000+", 2}};
  for (const auto& [levels, changes] : cases) {
    size_t n = 0;
    for (; levels[n] != '\0'; ++n) s[n] = levels[n] == '+' ? 5 : levels[n] == '-' ? -5 : n % 2 == 0 ? 4 : -4;
    EXPECT_EQ(three_level_center_clipper(s.data(), out.data(), 5, static_cast<int32_t>(n)), changes)
        << levels;
  }
  for (size_t i = 0; i < 320; ++i) s[i] = i % 2 == 0 ? 0 : -1;
  EXPECT_EQ((Values{ZCR(s.data(), 0, 320, out.data()), ZCR(s.data(), 10, 13, out.data()),
                    ZCR(s.data(), 10, 11, out.data())}),
            (Values{319, 2, 0}));
}

TEST(VoicingFeatures, OfTheSpectrumFollowTheirDefinitions) {
  std::mt19937 random(22);
  Values power(257), band(64), weight(64);
  for (uint32_t round = 0; round < 50; ++round) {
    for (int32_t& p : power) p = static_cast<int32_t>(random() >> 7 >> (random() % (1 + round / 3)));
    const auto mean_of = [&](size_t first, size_t count, int32_t shift) {
      double mean = 0;
      for (size_t i = first; i < first + count; ++i)
        mean += (power[i] >> shift) / static_cast<int32_t>(count);
      return mean;
    };
    const double tilt = mean_of(129, 128, 8) * 65536 / std::max(mean_of(9, 120, 8), 1.0);
    EXPECT_EQ(High2LowBandEnergyRatioEst(power.data(), 257), static_cast<int32_t>(tilt))
        << "round " << round << ", seed 22";
    double logs = 0, sum = 0, total = 0, least = 1e9, expected = 0, ratio[66];
    for (size_t b = 0; b < 32; ++b)
      logs += std::log(std::max(mean_of(8 * b, 8, 0), 1.0)) / 32, sum += mean_of(8 * b, 8, 0) / 32;
    // The geometric mean is cut to Q6 at every band: the figure is up to 14480 above the exact one.
    const double exact = -10 / 60.0 * (logs - std::log(sum)) * 65536;
    const int32_t tonality = BP_TonalityEst(power.data(), 257, 32, band.data());
    EXPECT_TRUE(tonality >= std::min(exact, 65536.0) - 40 && tonality <= std::min(exact + 14480, 65536.0))
        << round << ": " << exact;
    EXPECT_EQ(bp_tonality_es(power.data(), 257, 32, band.data()), tonality);
    for (size_t b = 0; b < 64; ++b)
      total += std::max(mean_of(4 * b, 4, 0), 1.0),
          least = std::min(least, std::max(mean_of(4 * b, 4, 0), 1.0));
    for (size_t b = 0; b < 66; ++b)
      ratio[b] = least / std::max(mean_of(4 * (std::clamp<size_t>(b, 1, 64) - 1), 4, 0), 1.0);
    const int32_t entropy =
        WeightedBandPartitioningSpectralEntropyEst(power.data(), 257, 64, band.data(), weight.data());
    for (size_t b = 0; b < 64; ++b) {
      const double m = (ratio[b] + ratio[b + 1] + ratio[b + 2]) / 3, p = least / ratio[b + 1] / total;
      const double variance =
          (std::pow(ratio[b] - m, 2) + std::pow(ratio[b + 1] - m, 2) + std::pow(ratio[b + 2] - m, 2)) / 3;
      EXPECT_NEAR(weight[b], variance * 65536, 4) << "band " << b << ", seed 22";
      EXPECT_NEAR(band[b], std::max(p * kOneQ30, 4211.0), 1) << "band " << b << ", seed 22";
      expected += variance * p * (p < 1 / 1024.0 ? -20 * std::log(2) : std::log(p));
    }
    EXPECT_NEAR(entropy, expected * 65536, 70) << "round " << round << ", seed 22";
  }
  // Equal powers of 1024: factors of 79 (2^(10/32) in Q6) and of 65 (2^(10/257)), the product cut at every
  // step.
  power.assign(257, 1024);
  const auto figure = [](int32_t factor, int32_t count, double mean) {
    int32_t product = factor;
    for (int32_t b = 1; b < count; ++b) product = (product * factor) >> 6;
    return -10 / 60.0 * std::log(product / 64.0 / mean) * 65536;
  };
  EXPECT_NEAR(BP_TonalityEst(power.data(), 257, 32, band.data()), figure(79, 32, 1024), 15);
  EXPECT_NEAR(tonality_es(power.data(), 257), figure(65, 257, 3 * 257), 15);  // 1024 / 257 is 3
  // A total that overflows counts as the largest: shares 1.0 and the least; 3.9e-6 * -20 ln 2 is -3.6 in Q16.
  EXPECT_EQ(WeightedSpectralEntropyEst(Values{INT32_MAX, 1}.data(), 2, Values{65536, 65536}.data()), -4);
  EXPECT_EQ((Values{VarianceEst(5, 5, 5), VarianceEst(0, 0, 196608), VarianceEst(INT32_MAX, INT32_MIN, 0)}),
            (Values{0, 131072, 715827882}));
}

class Vote : public testing::Test {
 protected:
  Vote() {  // at first nothing votes but zero crossings and level changes
    EXPECT_EQ(init_energy_epd_prm_org(&prm_, 160), 1);
    prm_.uv.log_energy = 400 << 16;
    profile_.yin_min = profile_.tonality_min = 65536, profile_.entropy_max = INT32_MIN,
    profile_.h2l_ratio_max = 6554;
    profile_.amdf_low = profile_.amdf_high = profile_.pv_low = profile_.pv_high = 0;
    profile_.vad_threshold = 45, profile_.uv_energy_offset = 20, profile_.uv_vote_min = 0;
    for (size_t k = 9; k < 129; ++k) power_[k] = static_cast<int32_t>(100000 * k);
  }
  ~Vote() override { close_energy_epd_prm(&prm_); }

  int Decide(int32_t noise = 0, int32_t noise_ref = 0) {
    uv_detection(samples_.data(), 320, power_.data(), 257, &prm_, noise, 0, noise_ref, &prm_.vad, &profile_);
    return prm_.uv.uv_raw;
  }
  // The largest share of ten that still passes.
  int Votes(int32_t epd_profile::*field, int32_t value) {
    profile_.*field = value;
    for (int votes = 10;; --votes) {
      profile_.uv_vote_min = static_cast<int32_t>(int64_t{votes} * (1 << 30) / 10);
      if (Decide() == 1 || votes == 0) return votes;
    }
  }

  energy_epd_prm prm_ = {};
  epd_profile profile_ = prm_.profile;
  Samples samples_ = Samples(320);
  Values power_ = Values(257, 2);
};

TEST_F(Vote, CountsEveryFeatureBetweenItsBounds) {
  using P = epd_profile;
  for (const auto& [changes, step, votes] : Cases<3>{{5, 40, 3},
                                                     {6, 40, 4},
                                                     {10, 25, 4},
                                                     {69, 4, 5},
                                                     {70, 4, 4},
                                                     {99, 3, 4},
                                                     {100, 3, 3},
                                                     {11, 25, 5}}) {
    for (int32_t i = 0; i < 320; ++i)
      samples_[static_cast<size_t>(i)] = std::min(i / step, changes) % 2 == 0 ? 1000 : -1000;
    EXPECT_EQ(Votes(&P::yin_min, 65536), votes) << changes << " changes";
  }
  const uv_prm uv = prm_.uv;
  Values band(64), weight(64);
  EXPECT_EQ(uv.spectral_entropy,
            -WeightedBandPartitioningSpectralEntropyEst(power_.data(), 257, 64, band.data(), weight.data()));
  EXPECT_GT(uv.spectral_entropy, 0);
  EXPECT_EQ((Values{Votes(&P::yin_min, uv.yin_voicing), Votes(&P::yin_min, uv.yin_voicing - 1)}),
            (Values{5, 6}));
  EXPECT_EQ((Values{Votes(&P::tonality_min, uv.tonality), Votes(&P::tonality_min, uv.tonality - 1)}),
            (Values{6, 7}));
  EXPECT_EQ(
      (Values{Votes(&P::entropy_max, uv.spectral_entropy), Votes(&P::entropy_max, uv.spectral_entropy + 1)}),
      (Values{7, 8}));
  EXPECT_EQ((Values{Votes(&P::amdf_high, uv.amdf_min), Votes(&P::amdf_high, uv.amdf_min + 1),
                    Votes(&P::amdf_low, uv.amdf_min)}),
            (Values{8, 9, 8}));
  EXPECT_EQ((Values{Votes(&P::pv_high, uv.peak_valley_ratio), Votes(&P::pv_high, uv.peak_valley_ratio + 1),
                    Votes(&P::pv_low, uv.peak_valley_ratio)}),
            (Values{8, 9, 8}));
  prm_.vad.strong_low_bins = 96, prm_.vad.strong_low_bins_copy = 97;
  EXPECT_EQ(Votes(&P::pv_low, INT32_MAX), 9);
}

TEST_F(Vote, IsOnlyTakenAboveTheNoiseAndBelowTheTilt) {
  // Peak, noise and its reference in units, the highest energy that is still too low.
  for (const auto& [peak, noise, reference, most] : Cases<4>{{0, 0, 0, 205},
                                                             {2000, 0, 0, 205},
                                                             {2001, 0, 0, 210},
                                                             {5000, 0, 0, 210},
                                                             {5001, 0, 0, 215},
                                                             {10000, 0, 0, 215},
                                                             {10001, 0, 0, 220},
                                                             {0, 200, 0, 255},
                                                             {0, 400, 0, 355},
                                                             {0, 0, 131, 206}}) {
    prm_.vad.peak_amplitude = peak, prm_.uv.log_energy = most << 16, prm_.uv.zcr = -1;
    EXPECT_TRUE(Decide(noise << 16, reference << 16) == 0 && prm_.uv.zcr == -1)
        << peak << ", " << noise << ", " << reference;
    ++prm_.uv.log_energy;
    EXPECT_EQ(Decide(noise << 16, reference << 16), 1) << peak << ", " << noise << ", " << reference;
  }
  std::fill_n(power_.begin(), 129, 120 << 16);  // means of 30720 and 24 * 128: 6553.6 in Q16
  std::fill(power_.begin() + 129, power_.end(), 24 << 15);
  profile_.h2l_ratio_max = 6553;
  EXPECT_EQ(Decide(), 0);
}

TEST_F(Vote, IsSmoothedOverSevenFramesAndRemembered) {
  const std::string raw = "1000000111000000111111100000", smooth = "0000000000000000000111111100";
  for (size_t t = 0, since = 0; t < raw.size(); ++t) {
    prm_.uv.log_energy = raw[t] == '1' ? 400 << 16 : 0;
    Decide();
    since = smooth[t] == '1' ? 0 : since + 1;
    EXPECT_EQ((Values{prm_.uv.uv_smoothed, prm_.uv.uv_hist.data[t], prm_.uv.frames_since_voiced}),
              (Values{smooth[t] - '0', smooth[t] - '0', static_cast<int32_t>(since)}))
        << "frame " << t;
  }
}

}  // namespace
