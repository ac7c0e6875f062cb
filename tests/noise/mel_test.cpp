// Mel filter bank, mel IDCT and the ear's weights.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include <fstream>

#include "noise/mel_bank.h"
#include "support/inputs.h"

namespace vask {
namespace {

using test::kOneQ30, test::Values;

TEST(MelBank, ChainsTheTablesBandsAndSumsWeightedBins) {
  mel_band bank = {};
  ASSERT_EQ(InitMelFB(&bank, kMelBands), 1);
  std::mt19937_64 random(11);
  Values gains(129), numbers;
  std::vector<int64_t> amplitudes(129), sums(35);
  for (size_t k = 0; k < 129; ++k) {
    gains[k] = static_cast<int32_t>(random() >> 33) - (1 << 30);
    amplitudes[k] = static_cast<int64_t>(random() >> 2);
  }
  const auto gains_in = gains;
  const auto amplitudes_in = amplitudes;
  DoMelFB(gains.data(), &bank, sums.data(), 0), DoMelFB_int64(amplitudes.data(), &bank, sums.data(), 0);
  for (const mel_band* band = &bank; band != nullptr; band = band->next) {
    numbers.insert(numbers.end(), {band->start, band->count});
    double gain = 0, amplitude = 0;
    for (int32_t i = 0; i < band->count; ++i) {
      const double weight = numbers.emplace_back(band->weights[i]) / kOneQ30;
      gain += gains_in[static_cast<size_t>(band->start + i)] * weight;
      amplitude += static_cast<double>(amplitudes_in[static_cast<size_t>(band->start + i)]) * weight;
    }
    const auto b = static_cast<size_t>(std::count(sums.begin(), sums.end(), INT64_MIN));
    sums[b] = INT64_MIN;  // done
    EXPECT_NEAR(gains[b], gain - band->count / 2.0, band->count / 2.0 + 0.01) << "band " << b << ", seed 11";
    EXPECT_NEAR(static_cast<double>(amplitudes[b]), amplitude, amplitude * 1e-15 + 20)
        << "band " << b << ", seed 11";
  }
  EXPECT_EQ(numbers, Values(mel_filt_data, mel_filt_data + mel_filt_N));
  EXPECT_EQ(gains[35], gains_in[35]);
  bank.weights[0] = INT32_MAX;  // gains keep the low bits of (2^31 - 1)^2 / 2^30 = 2^32 - 4 + 2^-30
  gains.assign(129, INT32_MAX), DoMelFB(gains.data(), &bank, sums.data(), 129);
  EXPECT_TRUE(gains[0] == -4 && sums[0] == 4294967292);
  DoMelFB(nullptr, &bank, sums.data(), 1), DoMelFB_int64(sums.data(), nullptr, sums.data(), 1),
      CloseMelFB(nullptr, 35);
  for (int round = 0; round < 2; ++round) CloseMelFB(&bank, 35);
  EXPECT_TRUE(bank.weights == nullptr && bank.next == nullptr);
  EXPECT_EQ(InitMelFB(&bank, 1) + InitMelFB(nullptr, 35) + BuildMelBank(bank, 35, {mel_filt_data, 292}), 0);
  EXPECT_TRUE(bank.weights == nullptr && bank.next == nullptr);
}

TEST(MelBank, IsReadFromAFileOrSaysThatItIsWrong) {
  const std::string dir = testing::TempDir(), path = dir + "/mel_filt.txt";
  const auto read = [&](const char* numbers, int32_t bands) {
    std::ofstream(path, std::ios::binary) << numbers;
    mel_band bank;
    testing::internal::CaptureStdout();
    const bool good = ReadMelBank(bank, bands, dir.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout().find("ERROR:") == std::string::npos, good) << numbers;
    EXPECT_TRUE(!good || (bank.weights[0] == 5 && bank.next->count == 2 && bank.next->weights[1] == -8))
        << numbers;
    ReleaseMelBank(bank, bands);
    return good;
  };
  EXPECT_TRUE(read("0\n1\n5\n3\r\n2\n7\n-8\n", 2) && read("0\n1\n5\n127\n2\n7\n-8\n", 2));
  for (const char* numbers : {"0 1 5 128 2 7 8", "0 1 5 130 -1 7", "-1 1 5 1 1 5", "0 -1 5 1 1 5",
                              "0 1 5 1 2 7", "0 1 5 1 2 7 x", "0 130 5"})
    EXPECT_FALSE(read(numbers, 2)) << numbers;
  EXPECT_FALSE(read("0 1 5 1 1 6", 3) || read("0 1 5", 1));
  std::remove(path.c_str());
  mel_band bank;
  testing::internal::CaptureStdout();
  EXPECT_FALSE(ReadMelBank(bank, 2, dir.c_str()));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nERROR: can't open [ " + path + " ]\n");
}

TEST(MelIdct, WeighsTheGainsWithTheBasis) {
  std::vector<Values> basis(35, Values(36, 99));
  std::vector<int32_t*> rows;
  for (Values& row : basis) rows.push_back(row.data());
  InitMelIDCTbasis(rows.data(), 40), InitMelIDCTbasis(nullptr, 35),
      InitMelIDCTbasis(rows.data(), -1);  // 35 at most
  EXPECT_EQ((Values{basis[1][34], basis[34][34], basis[0][35]}), (Values{-40544928, 40544928, 99}));
  std::vector<int64_t> sums(35);
  Values taps(35);
  std::mt19937 random(12);
  for (int32_t& g : taps) g = static_cast<int32_t>(random());
  const Values gains = taps;
  DoMelIDCT(taps.data(), sums.data(), rows.data(), 35, 34);
  for (size_t n = 0; n < 34; ++n) {
    double sum = -17.5;  // every product is rounded down
    for (size_t k = 0; k < 35; ++k) sum += static_cast<double>(gains[k]) * basis[n][k] / kOneQ30;
    EXPECT_NEAR(static_cast<double>(sums[n]), sum, 17.6) << "tap " << n << ", seed 12";
    EXPECT_EQ(taps[n], static_cast<int32_t>(sums[n])) << "tap " << n;
  }
  EXPECT_EQ(taps[34], gains[34]);
}

// ITU-R BS.1387, as the square root of the amplitude.
TEST(EarModel, IsTheOuterAndMiddleEarsResponse) {
  std::vector<double> out(129);
  for (int32_t rate : {16000, 8000}) {
    OuterAndMiddleEarModel(out.data(), 129, rate), OuterAndMiddleEarModel(out.data(), 1, rate);
    EXPECT_NEAR(out[0], std::sqrt(0.00179198), 1e-8);
    for (size_t i = 1; i < 129; ++i) {
      const double f = static_cast<double>(i) * rate / 256000, e = std::exp(-0.6 * (f - 3.3) * (f - 3.3));
      const double decibels = -2.184 * std::pow(f, -0.8) + 6.5 * e - std::pow(f, 3.6) / 1000;
      EXPECT_NEAR(out[i], std::pow(10, decibels / 40), 1e-7) << "bin " << i << " at " << rate;
    }
  }
}

}  // namespace
}  // namespace vask
