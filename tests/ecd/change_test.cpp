// Change points and verdicts: histories at their limits, meaningless values, every float mode.
#include <gtest/gtest.h>
#include <vask/ecd.h>

#include <array>
#include <cfenv>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "dsp/float_mode.h"

namespace {

constexpr int kColumns = 23;

using Found = std::array<int32_t, 3>;  // first, last, count

class Change : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(__Vask_epd_ecd_Init(), 1);
    __Vask_epd_set_seneitivity(0, 1.0f);
    Vask_epd_ecd_reset();
  }
  void TearDown() override { __Vask_epd_ecd_Stop(); }

  void Fill(int32_t frames, const std::function<double(int t, int k)>& level) {
    for (int t = 0; t < frames; ++t) {
      for (int k = 0; k <= kColumns; ++k) ecdLFBE[t][k] = static_cast<float>(level(t, k));
    }
    ecdFrames = frames;
  }

  static Found Look() {
    Found f = {9, 9, 9};
    EnvChangeValue(&f[0], &f[1], &f[2]);
    return f;
  }

  double Noise(double spread) { return spread * std::normal_distribution<double>()(random_); }

  std::mt19937 random_{11};
};

TEST_F(Change, StartsWithTheTwentySixthRowAndLeavesOutTheLast) {
  const auto step = [](int t, int k) { return (t < 20 ? 1.0 : 5.0) + 0.01 * ((t * 7 + k * 3) % 5); };
  for (const int frames : {-5, 0, 1, 2, 24, 25}) {
    Fill(26, step);
    ecdFrames = frames;
    EXPECT_EQ(Look(), (Found{-1, -1, 0})) << frames;
  }
  Fill(26, step);
  EXPECT_EQ(Look()[2], 1);
  EXPECT_EQ(Vask_epd_ecd(), -1);  // one change is not enough
  EXPECT_EQ(ecdFrames, 0);
}

TEST_F(Change, CopesWithConstantsAndMeaninglessValues) {
  Fill(60, [](int, int) { return 5.0; });
  EXPECT_EQ(Look(), (Found{-1, -1, 0}));  // no variance anywhere
  Fill(60, [&](int t, int) { return t < 30 ? 5.0 : 5 + Noise(1); });
  EXPECT_GE(Look()[2], 1);  // only one half has any
  for (const double value : {double{NAN}, double{INFINITY}, -double{INFINITY}, 3e38}) {
    Fill(60, [&](int t, int) { return t < 30 ? Noise(1) : value; });
    const Found f = Look();
    EXPECT_TRUE(f[0] >= -1 && f[0] <= 60 && f[1] <= 60) << value << ": " << f[0] << ", " << f[1];
    Vask_epd_ecd();
  }
  ecdFrames = INT32_MAX;  // written by the application: counts as the nearest valid value
  Look();
  ecdFrames = INT32_MIN;
  EXPECT_EQ(Look(), (Found{-1, -1, 0}));
  __Vask_epd_ecd_Stop();
  EXPECT_EQ(Look(), (Found{-1, -1, 0}));
  EXPECT_EQ(ECVreport(10, 20, 2), 3);
}

TEST_F(Change, ALevelThatIsNotANumberFailsNoTest) {
  // Levels outside the changes (before the first, after the last) and between them, from each producer.
  const auto levels = [&](double before, double between, double background, double speech) {
    Fill(200, [&](int t, int) { return t < 40 || t >= 140 ? before : between; });
    for (int t = 0; t < 200; ++t)
      ecdorgLFBE[t] = static_cast<float>(t >= 46 && t < 140 ? speech : background);
  };
  levels(0, 8, 0, 0);  // nothing above the background, which is ln(1) exactly
  EXPECT_EQ(ECVreport(40, 140, 2), 0);
  EXPECT_TRUE(std::isnan(__Vask_epd_ecd_get_SNR()));
  EXPECT_EQ(ECVreport(40, 46, 2), 0);  // nothing between the changes
  levels(0, 0, 0, 3);                  // nothing above the level before
  EXPECT_EQ(ECVreport(40, 140, 2), 0);
  levels(3, 3.5, -INFINITY, 6);  // a background of digital silence
  EXPECT_EQ(ECVreport(40, 140, 2), 1);
  EXPECT_EQ(__Vask_epd_ecd_get_SNR(), INFINITY);
  for (const int32_t row : {INT32_MIN, -1, 0, 5000, INT32_MAX})
    ECVreport(row, row, 2);  // nothing out of bounds
}

TEST_F(Change, AReportHearsTheFramesAroundTheChangesAndNoOthers) {
  // Of 200 frames, changes at 40 and `last`; one frame of the extractor's levels or of the engine's differs.
  const auto report = [&](int last, double between, double speech, int at, double level, int engines_at = -1,
                          double engines_level = 9) {
    const auto is_between = [&](int t) { return t >= 46 && t < last; };
    Fill(200, [&](int t, int) { return t == at ? level : is_between(t) ? between : 0; });
    for (int t = 0; t < 200; ++t)
      ecdorgLFBE[t] = static_cast<float>(t == engines_at ? engines_level : is_between(t) ? speech : 0);
    const int32_t code = ECVreport(40, last, 2);
    return std::pair(code, __Vask_epd_ecd_get_SNR());
  };
  const float snr = report(140, 5, 5, -1, 0).second;
  struct Case {
    int at;
    bool before, between, engines;
  };
  for (const Case& c : {Case{13, false, false, false},
                        {14, true, false, false},
                        {33, true, false, false},
                        {34, false, false, false},
                        {45, false, false, false},
                        {46, false, true, true},
                        {139, false, true, true},
                        {140, false, false, false},
                        {169, false, false, false},
                        {170, false, false, true},
                        {199, false, false, true}}) {
    EXPECT_EQ(report(140, 6.5, 5, c.at, 9).first, c.before ? 1 : 0) << c.at;   // hides the rise
    EXPECT_EQ(report(140, 0, 5, c.at, 0.5).first, c.between ? 1 : 0) << c.at;  // rises, but too little
    EXPECT_EQ(report(140, 5, 5, -1, 0, c.at).second != snr, c.engines) << c.at;
  }
  // Of 700 and more the exponential is infinite in single precision: nothing is above it.
  for (const double level : {699.5, 700.0, 700.5}) EXPECT_EQ(report(140, 4, 9, 20, level).first, 0) << level;
  EXPECT_EQ(ECVreport(40, 140, 1), 3);
  __Vask_epd_set_seneitivity(3, 2.0f);  // at the thresholds, of one frame between the changes
  EXPECT_EQ(report(47, 2, 3, -1, 0).first, 0);
  EXPECT_EQ(report(47, 1.99, 3, -1, 0).first, 1);
  EXPECT_EQ(report(47, 2, 2.99, -1, 0).first, 2);
}

TEST_F(Change, DoesNotDependOnTheCallersFloatMode) {
  // The determinant of the quiet halves is about 0.14^46 = 5e-40, a subnormal number.
  Fill(200, [&](int t, int) { return (t > 60 && t < 130 ? 9 : 4) + Noise(t > 60 ? 0.5 : 0.14); });
  for (int t = 0; t < 200; ++t) ecdorgLFBE[t] = ecdLFBE[t][0];
  std::vector<float> snr;
  std::vector<Found> found;
  for (const int rounding : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    for (const uint32_t flush_bits : {0u, ~0u}) {
      std::fesetround(rounding);
      vask::SetFlushBits(flush_bits);
      const uint32_t flushes = vask::FlushBits();
      const int32_t code = __Vask_epd_ecd_change();
      found.push_back(Look());
      EXPECT_EQ(std::fegetround(), rounding);
      EXPECT_EQ(vask::FlushBits(), flushes);
      std::fesetround(FE_TONEAREST);
      vask::SetFlushBits(0);
      EXPECT_EQ(code, 0);
      snr.push_back(__Vask_epd_ecd_get_SNR());
    }
  }
  EXPECT_EQ(snr, std::vector<float>(8, snr[0]));
  EXPECT_EQ(found, std::vector<Found>(8, found[0]));
}

}  // namespace
