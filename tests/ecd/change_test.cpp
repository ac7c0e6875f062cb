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
