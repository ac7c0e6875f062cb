// Change points and verdicts over histories made for them, against sums in double precision.
#include <gtest/gtest.h>
#include <vask/ecd.h>

#include <cfenv>
#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

namespace {

constexpr int kColumns = 23;

struct Found {
  int32_t first = 9, last = 9, count = 9;
  bool operator==(const Found&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Found& f) {
  return out << f.first << ", " << f.last << ", " << f.count;
}

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
    Found f;
    EnvChangeValue(&f.first, &f.last, &f.count);
    return f;
  }

  double Noise(double spread) { return spread * std::normal_distribution<double>()(random_); }

  std::mt19937 random_{11};
};

// The same judgement with the determinants of two Gaussians and one written out: signals at rows 24, 29, ...
Found Expected(const std::vector<std::vector<double>>& rows, double& nearest) {
  Found f = {-1, -1, 0};
  for (int t = 24; t < static_cast<int>(rows.size()) - 1; t += 5) {
    const auto log_determinant = [&](int from, int n) {
      double sum = 0;
      for (int k = 0; k < kColumns; ++k) {
        double mean = 0, variance = 0;
        for (int i = 0; i < n; ++i) mean += rows[from + i][k] / n;
        for (int i = 0; i < n; ++i) variance += (rows[from + i][k] - mean) * (rows[from + i][k] - mean) / n;
        sum += std::log(variance);
      }
      return sum;
    };
    const double ratio =
        10 * log_determinant(t - 19, 20) - 5 * log_determinant(t - 19, 10) - 5 * log_determinant(t - 9, 10);
    const double threshold = 0.4 * 299 * std::log(5.0);  // 299 parameters; ln(10 * 10 / 20)
    nearest = std::min(nearest, std::abs(ratio - threshold));
    if (ratio <= threshold) continue;
    int best = -1;
    double largest = 0;
    for (int i = 1; i < 10; ++i) {
      double step = 0;
      for (int k = 0; k < kColumns; ++k) step += std::pow(rows[t - 9 + i][k] - rows[t - 10 + i][k], 2);
      if (step > largest) largest = step, best = i;
    }
    (f.first == -1 ? f.first : f.last) = t - best;
    ++f.count;
  }
  return f;
}

TEST_F(Change, FindsWhereTwoGaussiansExplainMoreThanOne) {
  int found = 0;
  for (int round = 0; round < 200; ++round) {
    const int frames = 26 + round, segment = 15 + round % 40;
    const double spread = 0.2 + 0.005 * round;
    std::vector<std::vector<double>> rows(frames, std::vector<double>(kColumns));
    std::vector<double> level(kColumns);
    for (int t = 0; t < frames; ++t) {
      for (int k = 0; k < kColumns; ++k) {
        if (t % segment == 0) level[k] = 6 + Noise(4);
        rows[t][k] = static_cast<float>(level[k] + Noise(spread));
      }
    }
    Fill(frames, [&](int t, int k) { return k < kColumns ? rows[t][k] : 0; });
    double nearest = 1;
    const Found expected = Expected(rows, nearest);
    found += expected.count;
    if (nearest > 0.01) {
      EXPECT_EQ(Look(), expected) << "round " << round;
    }
  }
  EXPECT_GT(found, 100);
}

TEST_F(Change, PlacesAStepBehindWhereItIsByTheMirroredRow) {
  // A step from frame 48 to 49. In the window that ends with 49 it is between rows 8 and 9 of the newer half:
  // 49 - 9; in the one that ends with 54 between rows 3 and 4: 54 - 4.
  Fill(56, [&](int t, int) { return (t < 49 ? 4 : 8) + Noise(0.3); });
  EXPECT_EQ(Look(), (Found{40, 50, 2}));
}

// Steps of the same size to frames 47 and 51. The window that ends with 49 has the first between rows 6 and
// 7; the one that ends with 54 has them at rows 2 and 6.
TEST_F(Change, TakesTheEarliestOfEqualSteps) {
  Fill(56, [](int t, int) { return t < 47 ? 4 : t < 51 ? 8 : 12; });
  EXPECT_EQ(Look(), (Found{42, 52, 2}));
}

TEST_F(Change, LinesTheLastEntriesOfTheEngineUpWithTheRows) {
  for (const auto& [entries, first] :
       {std::pair{100, 60}, {40, 0}, {39, 0}, {0, 0}, {2048, 2008}, {INT32_MAX, 2008}}) {
    Fill(40, [](int, int) { return 5; });
    for (int t = 0; t < 2048; ++t) ecdorgLFBE[t] = static_cast<float>(t);
    ecdorgFrames = entries;
    EXPECT_EQ(__Vask_epd_ecd_change(), -1);
    for (int t = 0; t < 60; ++t) EXPECT_EQ(ecdorgLFBE[t], t < 40 ? first + t : t) << entries << " entries";
  }
}

TEST_F(Change, StartsWithTheTwentySixthRowAndLeavesTheLastOneOut) {
  const auto step = [](int t, int k) { return (t < 20 ? 1.0 : 5.0) + 0.01 * ((t * 7 + k * 3) % 5); };
  for (const int frames : {-5, 0, 1, 2, 24, 25}) {
    Fill(26, step);
    ecdFrames = frames;
    EXPECT_EQ(Look(), (Found{-1, -1, 0})) << frames;
  }
  Fill(26, step);
  EXPECT_EQ(Look().count, 1);
  EXPECT_EQ(Vask_epd_ecd(), -1);  // one change is not enough
  EXPECT_EQ(ecdFrames, 0);
}

TEST_F(Change, TakesConstantsAndNonsenseAsTheyCome) {
  Fill(60, [](int, int) { return 5.0; });
  EXPECT_EQ(Look(), (Found{-1, -1, 0}));  // no variance anywhere
  Fill(60, [&](int t, int) { return t < 30 ? 5.0 : 5 + Noise(1); });
  EXPECT_GE(Look().count, 1);  // one half without any
  for (const double value : {double{NAN}, double{INFINITY}, -double{INFINITY}, 3e38}) {
    Fill(60, [&](int t, int) { return t < 30 ? Noise(1) : value; });
    const Found f = Look();
    EXPECT_TRUE(f.first >= -1 && f.first <= 60 && f.last <= 60) << value << ": " << f;
    Vask_epd_ecd();
  }
  ecdFrames = INT32_MAX;  // written by the application: the nearest that is valid
  Look();
  ecdFrames = INT32_MIN;
  EXPECT_EQ(Look(), (Found{-1, -1, 0}));
  __Vask_epd_ecd_Stop();
  EXPECT_EQ(Look(), (Found{-1, -1, 0}));
  EXPECT_EQ(ECVreport(10, 20, 2), 3);
  EnvChangeValue(nullptr, nullptr, nullptr);
}

class Report : public Change {
 protected:
  // Levels before the first change, between the changes and behind the last, as each producer sees them.
  void Levels(double before, double between, double background, double speech) {
    Fill(200, [&](int t, int) { return t < 40 ? before : t < 140 ? between : before; });
    for (int t = 0; t < 200; ++t)
      ecdorgLFBE[t] = static_cast<float>(t >= 46 && t < 140 ? speech : background);
  }
};

TEST_F(Report, JudgesByTheTwoThresholds) {
  struct Case {
    int32_t level;
    float rise;
    double before, between, background, speech;
    int32_t code;
  };
  for (const Case& c :
       {Case{0, 1.0f, 3, 8, 5, 12, 0}, Case{0, 1.0f, 3, 3.99, 5, 12, 1}, Case{0, 1.0f, 3, 4.01, 5, 12, 0},
        Case{7, 1.0f, 3, 8, 5, 11.99, 2}, Case{7, 1.0f, 3, 8, 5, 12.01, 0}, Case{9, 0.0f, 3, 8, 5, 13.9, 2},
        Case{99, 0.0f, 3, 3.1, 5, 14.1, 0}, Case{0, 99.0f, -3, 6.9, 5, 6, 1},
        Case{0, 99.0f, -3, 7.1, 5, 6, 0}, Case{0, -1.0f, 3, 3.1, 5, 5.1, 0}}) {
    EXPECT_EQ(__Vask_epd_set_seneitivity(c.level, c.rise), 1);
    Levels(c.before, c.between, c.background, c.speech);
    EXPECT_EQ(ECVreport(40, 140, 2), c.code) << c.between << " over " << c.before << ", " << c.speech;
    EXPECT_NEAR(__Vask_epd_ecd_get_SNR(), 4.34 * (c.speech - c.background), 1e-4);
  }
  EXPECT_EQ(ECVreport(40, 140, 1), 3);
  EXPECT_EQ(__Vask_epd_ecd_get_SNR(), 0.0f);
}

TEST_F(Report, AveragesEnergiesNotLogarithmsOverTheFramesNamed) {
  // 3 and 1 in energy: 2. Frames at the edges of each stretch would be seen at once, being far louder.
  const auto alternating = [](int t, double level) { return std::log(t % 2 ? 3 : 1) + level; };
  Levels(0, 0, 0, 0);
  for (int t = 0; t < 200; ++t) {
    const bool before = t >= 14 && t < 34, between = t >= 46 && t < 140, behind = t >= 170;
    ecdLFBE[t][kColumns] = static_cast<float>(before ? alternating(t, 0) : between ? alternating(t, 3) : 20);
    ecdorgLFBE[t] = static_cast<float>(behind ? alternating(t, 0) : between ? alternating(t, 3) : 20);
  }
  EXPECT_EQ(ECVreport(40, 140, 2), 0);
  EXPECT_NEAR(__Vask_epd_ecd_get_SNR(), 4.34 * 3, 1e-4);
  __Vask_epd_set_seneitivity(0, 2.999f);
  EXPECT_EQ(ECVreport(40, 140, 2), 0);
  __Vask_epd_set_seneitivity(0, 3.001f);
  EXPECT_EQ(ECVreport(40, 140, 2), 1);
}

TEST_F(Report, FailsNoTestByALevelThatIsNotANumber) {
  Levels(0, 8, 0, 0);  // nothing above the background, which is ln(1) exactly
  EXPECT_EQ(ECVreport(40, 140, 2), 0);
  EXPECT_TRUE(std::isnan(__Vask_epd_ecd_get_SNR()));
  EXPECT_EQ(ECVreport(40, 46, 2), 0);  // nothing between the changes
  Levels(0, 0, 0, 3);                  // nothing above the level before
  EXPECT_EQ(ECVreport(40, 140, 2), 0);
  Levels(3, 3.5, -INFINITY, 6);  // a background of digital silence
  EXPECT_EQ(ECVreport(40, 140, 2), 1);
  EXPECT_EQ(__Vask_epd_ecd_get_SNR(), INFINITY);
  for (const int32_t row : {INT32_MIN, -1, 0, 5000, INT32_MAX})
    ECVreport(row, row, 2);  // nothing out of bounds
}

TEST_F(Report, DependsOnNoRoundingModeOfTheCaller) {
  Fill(200, [&](int t, int) { return (t > 60 && t < 130 ? 9 : 4) + Noise(0.5); });
  for (int t = 0; t < 200; ++t) ecdorgLFBE[t] = ecdLFBE[t][0];
  std::vector<float> snr;
  for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    const int32_t code = __Vask_epd_ecd_change();
    EXPECT_EQ(std::fegetround(), mode);
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(code, 0);
    snr.push_back(__Vask_epd_ecd_get_SNR());
  }
  EXPECT_EQ(snr, std::vector<float>(4, snr[0]));
}

}  // namespace
