// The built-in tables: what is stored is what the recipes give, and the recipes are near enough to the plain
// double-precision formulas.
#include <gtest/gtest.h>
#include <vask/dsp.h>
#include <vask/mfcc.h>
#include <vask/noise.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <numbers>
#include <numeric>
#include <span>
#include <string>
#include <vector>

#include "dsp/tables/ear.h"
#include "dsp/tables/logarithm.h"
#include "dsp/tables/mel_idct.h"
#include "dsp/tables/square_root.h"
#include "dsp/tables/windows.h"

namespace vask {
namespace {

using Values = std::vector<int32_t>;

constexpr double kTwoPi = 2 * std::numbers::pi;
constexpr int32_t kOneQ30 = 1 << 30;
constexpr size_t kBands = 35;

template <typename Table>
Values ValuesOf(const Table& table) {
  return Values(std::begin(table), std::end(table));
}

Values BasisValues() {
  Values values;
  for (const auto& tap : kMelIdctBasisQ30) values.insert(values.end(), tap.begin(), tap.end());
  return values;
}

struct Band {
  int32_t first_bin;
  std::span<const int32_t> weights;
};

std::vector<Band> MelBands() {
  std::vector<Band> bands;
  for (const int32_t* entry = mel_filt_data; entry < mel_filt_data + mel_filt_N;) {
    const auto count = static_cast<size_t>(entry[1]);
    bands.push_back({entry[0], {entry + 2, count}});
    entry += 2 + count;
  }
  return bands;
}

// CRC-32 (reflected, 0xEDB88320) of the values as little-endian 32-bit words.
uint32_t Crc32(const Values& values) {
  uint32_t crc = ~0u;
  for (int32_t value : values) {
    for (int bit = 0; bit < 32; ++bit) {
      const uint32_t in = static_cast<uint32_t>(value) >> bit & 1;
      crc = crc >> 1 ^ ((crc ^ in) & 1 ? 0xEDB88320u : 0);
    }
  }
  return ~crc;
}

// Count, sum and CRC were computed from the recipes by a program other than the generator.
TEST(Tables, HoldTheValuesOfTheirRecipes) {
  struct Case {
    const char* name;
    Values values;
    size_t count;
    uint32_t sum, crc;
  };
  const Case cases[] = {
      {"cc1", ValuesOf(cc1_data), 120, 293034538, 0x928d9463},
      {"ss1", ValuesOf(ss1_data), 120, 910650135, 0x2e13bf7d},
      {"cc3", ValuesOf(cc3_data), 120, 854741126, 0x30a87e22},
      {"ss3", ValuesOf(ss3_data), 120, 894970266, 0x3ce387dd},
      {"mel_filt", ValuesOf(mel_filt_data), 293, 3221227264, 0x1d7d59b6},
      {"lower channel", ValuesOf(loChan_data), 256, 4101, 0xf786d6fc},
      {"channel weight", ValuesOf(InitFBank_data), 256, 1642725640, 0x0b0dded4},
      {"cepstrum basis", ValuesOf(InitDCTMatrix_data), 299, 3221225512, 0xa6523f85},
      {"pre-emphasis", ValuesOf(pre_emph_data), 257, 1509313103, 0x816a343f},
      {"hanning", ValuesOf(kHanningQ30), 400, 4294967096, 0x08058af7},
      {"hamming", ValuesOf(kHammingQ30), 320, 365067488, 0x141acbef},
      {"filter window", ValuesOf(kFilterWindowQ30), 24, 4294966874, 0x7fecce73},
      {"ear weight", ValuesOf(kEarWeightQ30), 129, 3418601491, 0x592e942d},
      {"mel IDCT", BasisValues(), 1225, 1023352292, 0x78ccb4a2},
      {"log2", ValuesOf(kLog2Q30), 1025, 3414734602, 0x171aa1ad},
      {"fraction log2", ValuesOf(kFractionLog2Q26), 1025, 67521669, 0x7a2abd19},
      {"square root", ValuesOf(kSquareRootQ30), 1025, 3393250620, 0x8bb2fe6b},
      {"inverse root", ValuesOf(kInverseRootQ15), 49, 1073225, 0x82b6e58c},
      {"short log2", ValuesOf(kShortLog2Q15), 33, 600680, 0xc3bcb6ad},
  };
  for (const Case& c : cases) {
    uint32_t sum = 0;
    for (int32_t value : c.values) sum += static_cast<uint32_t>(value);
    EXPECT_EQ(c.values.size(), c.count) << c.name;
    EXPECT_EQ(sum, c.sum) << c.name;
    EXPECT_EQ(Crc32(c.values), c.crc) << c.name;
  }
  for (int32_t count : {cc1_N, ss1_N, cc3_N, ss3_N}) EXPECT_EQ(count, 120);
  EXPECT_EQ(mel_filt_N, 293);
  EXPECT_EQ(loChan_N + InitFBank_N + InitDCTMatrix_N + pre_emph_N, 256 + 256 + 299 + 257);
}

// Bounds in units of the last place: half a unit where the value is rounded, one where it is cut, and what
// single precision costs where the recipe passes through it.
TEST(Tables, AreCloseToTheFormulasInDoublePrecision) {
  struct Case {
    const char* name;
    Values values;
    double one;
    double bound;
    std::function<double(double)> formula;
  };
  const auto ear = [](double bin) {  // ITU-R BS.1387, square root of the amplitude
    const double f = bin * 0.0625;
    const double decibels =
        -2.184 * std::pow(f, -0.8) + 6.5 * std::exp(-0.6 * (f - 3.3) * (f - 3.3)) - std::pow(f, 3.6) / 1000;
    return bin == 0 ? std::sqrt(0.00179198) : std::pow(10, decibels / 40);
  };
  const double one_q26 = 1 << 26, one_q15 = 1 << 15;
  const Case cases[] = {
      {"hanning", ValuesOf(kHanningQ30), kOneQ30, 1,
       [](double i) { return 0.5 - 0.5 * std::cos(kTwoPi * (i + 0.5) / 400); }},
      {"hamming", ValuesOf(kHammingQ30), kOneQ30, 86,
       [](double i) { return 0.54 - 0.46 * std::cos(kTwoPi * i / 319); }},
      {"filter window", ValuesOf(kFilterWindowQ30), kOneQ30, 86,
       [](double i) { return 0.5 - 0.5 * std::cos(kTwoPi * (i + 0.5) / 24); }},
      {"cepstrum basis", ValuesOf(InitDCTMatrix_data), kOneQ30, 1100,  // pi as a float, off by 9e-8, times 12
       [](double i) {
         const double row = std::floor(i / 23), column = i - 23 * row;
         return std::cos(kTwoPi / 2 * row * (column + 0.5) / 23);
       }},
      {"pre-emphasis", ValuesOf(pre_emph_data), 1 << 29, 330,  // single-precision steps, up to 4.0
       [](double k) { return 1 + 0.97 * 0.97 - 2 * 0.97 * std::cos(kTwoPi * k / 512); }},
      {"ear weight", ValuesOf(kEarWeightQ30), kOneQ30, 50, ear},  // entry 0 is given to six digits here
      {"log2", ValuesOf(kLog2Q30), kOneQ30, 0.5001, [](double k) { return std::log2(1 + k / 1024); }},
      {"fraction log2", ValuesOf(kFractionLog2Q26), one_q26, 1,
       [](double k) { return k == 0 ? 0 : std::log2(k / 1024); }},
      {"square root", ValuesOf(kSquareRootQ30), kOneQ30, 0.5001,
       [](double k) { return std::sqrt(k / 1024); }},
      {"inverse root", ValuesOf(kInverseRootQ15), one_q15, 1,
       [](double i) { return 1 / std::sqrt(1 + i / 16); }},
      {"short log2", ValuesOf(kShortLog2Q15), one_q15, 1.5, [](double i) { return std::log2(1 + i / 32); }},
  };
  for (const Case& c : cases) {
    for (size_t i = 0; i < c.values.size(); ++i) {
      EXPECT_NEAR(c.values[i], c.formula(static_cast<double>(i)) * c.one, c.bound)
          << c.name << " entry " << i;
    }
  }
}

TEST(Tables, TwiddlesAreCloseToCosineAndSineOfTheirAngle) {
  size_t entry = 0;
  for (int32_t points = 16; points <= 512; points *= 2) {
    for (int32_t j = 1; j < points / 8; ++j, ++entry) {
      const double angle = kTwoPi * j / points;
      EXPECT_NEAR(cc1_data[entry], std::cos(angle) * kOneQ30, 36.5) << points << " points, j = " << j;
      EXPECT_NEAR(ss1_data[entry], std::sin(angle) * kOneQ30, 40.5) << points << " points, j = " << j;
      EXPECT_NEAR(cc3_data[entry], std::cos(3 * angle) * kOneQ30, 150.5) << points << " points, j = " << j;
      EXPECT_NEAR(ss3_data[entry], std::sin(3 * angle) * kOneQ30, 114.5) << points << " points, j = " << j;
    }
  }
}

TEST(Tables, HanningReadsTheSameFromBothEndsAndHammingDoesNot) {
  for (size_t i = 0; i < 200; ++i) EXPECT_EQ(kHanningQ30[i], kHanningQ30[399 - i]) << i;
  EXPECT_EQ(kHammingQ30[2], 86282536);
  EXPECT_EQ(kHammingQ30[317], 86282528);  // 2 pi as a float is a little too large
}

// Channel c stands at c / 24 of the mel scale's upper end, bin k at 31.25 (k - 1) Hz.
TEST(Tables, MelChannelsShareEachBinByItsDistance) {
  const double top = std::log1p(8000 / 700.0);
  for (int32_t k = 1; k <= 256; ++k) {
    const double place = 24 * std::log1p(31.25 * (k - 1) / 700) / top;
    const double above = loChan_data[k - 1] + 1, share = InitFBank_data[k - 1] / static_cast<double>(kOneQ30);
    EXPECT_NEAR(above - share, place, 2e-6) << "bin " << k;
    EXPECT_EQ(loChan_data[k - 1], k == 1 ? 0 : static_cast<int32_t>(std::ceil(place) - 1)) << "bin " << k;
  }
}

TEST(Tables, MelBandsAreTrianglesOfSumOne) {
  const std::vector<Band> bands = MelBands();
  ASSERT_EQ(bands.size(), kBands);
  for (size_t b = 0; b < kBands; ++b) {
    const auto [first_bin, weights] = bands[b];
    const double sum = std::accumulate(weights.begin(), weights.end(), 0.0);
    EXPECT_NEAR(sum, kOneQ30, 112) << "band " << b;  // their sum is single precision
    const int32_t previous = b == 0 ? -1 : bands[b - 1].first_bin;
    EXPECT_GT(first_bin, previous) << "band " << b;
  }
  EXPECT_EQ(bands.back().first_bin + static_cast<int32_t>(bands.back().weights.size()), 129);
  // 2/3 and 1/3; 1/4, 1/2, 1/4; and a rising edge alone of 1/55, 2/55, ...
  EXPECT_EQ(ValuesOf(bands[6].weights), (Values{715827882, 357913941}));
  EXPECT_EQ(ValuesOf(bands[11].weights), (Values{268435456, 536870912, 268435456}));
  EXPECT_EQ(ValuesOf(bands[34].weights.first(3)), (Values{19522578, 39045157, 58567735}));
}

// f(k) is the centroid of a band in bins of 62.5 Hz, of which 256 span the sampling rate.
TEST(Tables, MelIdctIsTheCosineAtTheCentroidTimesTheWidth) {
  std::vector<double> f;
  for (const Band& band : MelBands()) {
    double moment = 0, mass = 0;
    for (size_t i = 0; i < band.weights.size(); ++i) {
      moment += (band.first_bin + static_cast<double>(i)) * band.weights[i];
      mass += band.weights[i];
    }
    f.push_back(std::round(3 * moment / mass) / 3);  // the mean of three centres: whole thirds of a bin
  }
  f[kBands - 1] = 128;
  for (size_t tap = 0; tap < kBands; ++tap) {
    for (size_t k = 0; k < kBands; ++k) {
      const double width = (f[std::min(k + 1, kBands - 1)] - f[k == 0 ? 0 : k - 1]) / 256;
      const double expected = std::cos(kTwoPi * static_cast<double>(tap) * f[k] / 256) * width;
      EXPECT_NEAR(kMelIdctBasisQ30[tap][k], expected * kOneQ30, 280) << "tap " << tap << " band " << k;
    }
  }
  // The widths telescope: equal gains of 1.0 in all bands give a tap 0 of exactly 1.0.
  EXPECT_EQ(std::accumulate(kMelIdctBasisQ30[0].begin(), kMelIdctBasisQ30[0].end(), 0), kOneQ30);
}

}  // namespace
}  // namespace vask
