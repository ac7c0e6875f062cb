// What the net is given: band energies against double precision, and how periodic known signals are.
#include "gate/analysis.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "support/inputs.h"

namespace vask {
namespace {

using Powers = std::array<int64_t, kSpectrumBins>;

// Where band b begins; it peaks at b + 1 and ends at b + 2. In bins of 31.25 Hz.
double Edge(size_t b) {
  const auto mel = [](double hz) { return 2595 * std::log10(1 + hz / 700); };
  const double at = mel(50) + (mel(8000) - mel(50)) * static_cast<double>(b) / 41;
  return 700 * (std::pow(10, at / 2595) - 1) / 31.25;
}

// log2 of the amplitude of band b, Q8.
double ExactBand(const Powers& power, size_t b) {
  double sum = 0;
  for (size_t bin = 0; bin < power.size(); ++bin) {
    const double rise = (static_cast<double>(bin) - Edge(b)) / (Edge(b + 1) - Edge(b));
    const double fall = (Edge(b + 2) - static_cast<double>(bin)) / (Edge(b + 2) - Edge(b + 1));
    sum += static_cast<double>(power[bin]) * std::max(0.0, std::min(rise, fall));
  }
  return 128 * std::log2(sum + 1);
}

TEST(LogBands, AreNearDoublePrecisionAtEveryLevel) {
  std::mt19937_64 random(3);
  for (int bits = 8; bits < 48; bits += 3) {
    Powers power;
    for (int64_t& p : power) p = static_cast<int64_t>(random() >> (64 - bits)) | (int64_t{1} << (bits - 1));
    LogBands bands;
    TakeLogBands(power, bands);
    // The edges are rounded to 1/16 of a bin, of bands that are 1.5 bins wide at first: 4 % of a power.
    for (size_t b = 0; b < bands.size(); ++b)
      EXPECT_NEAR(bands[b], ExactBand(power, b), b < 8 ? 10 : 4) << "band " << b << ", " << bits << " bits";
  }
}

TEST(LogBands, ShareTheWholePowerOfEachBin) {
  constexpr double kPower = 1 << 28;
  for (size_t bin = 2; bin < 256; ++bin) {
    Powers power{};
    power[bin] = static_cast<int64_t>(kPower);
    LogBands bands;
    TakeLogBands(power, bands);
    double sum = 0;
    for (const int16_t band : bands) sum += std::exp2(band / 128.0) - 1;
    // The first and the last band have a neighbour on one side only.
    const auto place = static_cast<double>(bin);
    const double share =
        std::min({1.0, (place - Edge(0)) / (Edge(1) - Edge(0)), (Edge(41) - place) / (Edge(41) - Edge(40))});
    // The logarithm is exact to 0.01, a unit of Q8 is 0.5 % of a power, and an edge is rounded by up to 1/32
    // bin.
    EXPECT_NEAR(sum / kPower, share, 0.03) << "bin " << bin;
  }
}

TEST(LogBands, AreZeroForSilenceAndFitTheLargestPowers) {
  Powers power{};
  LogBands bands;
  TakeLogBands(power, bands);
  EXPECT_EQ(std::count(bands.begin(), bands.end(), 0), kLogBands);
  power.fill((int64_t{1} << 55) - 1);
  TakeLogBands(power, bands);
  for (size_t b = 0; b < bands.size(); ++b)
    EXPECT_NEAR(bands[b], ExactBand(power, b), b < 8 ? 10 : 4) << "band " << b;
}

// The inputs of the step that ends with these samples.
GateInputs Heard(std::span<const int16_t> samples) {
  Analysis analysis;
  EXPECT_TRUE(analysis.Open());
  for (size_t at = 0; at + kFrame <= samples.size(); at += kFrame)
    analysis.Hear(std::span<const int16_t, kFrame>(samples.data() + at, kFrame));
  const GateInputs inputs = analysis.inputs();
  analysis.Close();
  return inputs;
}

size_t HighestLagBand(const GateInputs& inputs) {
  const auto first = inputs.begin() + 2 * kLogBands;
  return static_cast<size_t>(std::max_element(first, inputs.end()) - first);
}

int16_t Highest(const GateInputs& inputs) { return inputs[2 * kLogBands + HighestLagBand(inputs)]; }

TEST(Periodicity, IsHighestInTheBandOfThePulsesPeriodAtAnyLevel) {
  // Band b holds lags of 32 * 8^(b / 12) and more: 32, 38, 45, 54, 64, 76, 91, 108, 128, 152, 181, 215.
  for (const auto& [period, band] : {std::pair{size_t{41}, size_t{1}}, {49, 2}, {70, 4}, {83, 5}, {99, 6}}) {
    for (const int16_t height : {int16_t{30000}, int16_t{300}}) {
      test::Samples pulses(8 * kFrame);
      for (size_t i = 0; i < pulses.size(); i += period) pulses[i] = height;
      const GateInputs inputs = Heard(pulses);
      EXPECT_EQ(HighestLagBand(inputs), band) << "period " << period << ", height " << height;
      EXPECT_GT(Highest(inputs), 1000) << "period " << period << ", height " << height;
    }
  }
}

TEST(Periodicity, IsLowForNoise) {
  int32_t sum = 0;
  constexpr int32_t kRounds = 50;
  for (uint32_t seed = 0; seed < kRounds; ++seed) sum += Highest(Heard(test::Noise(8 * kFrame, 8000, seed)));
  EXPECT_LT(sum / kRounds, 400);  // in Q12; the pulses above give 1100 to 2700
}

TEST(Analysis, GivesTheBandsOfBothFramesTheOlderFirst) {
  Analysis analysis;
  ASSERT_TRUE(analysis.Open());
  const test::Samples noise = test::Noise(4 * kFrame, 5000, 1);
  std::array<LogBands, 4> bands;
  for (size_t frame = 0; frame < bands.size(); ++frame) {
    test::Samples samples(noise.begin() + static_cast<std::ptrdiff_t>(frame * kFrame),
                          noise.begin() + static_cast<std::ptrdiff_t>((frame + 1) * kFrame));
    for (int16_t& s : samples) s = static_cast<int16_t>(s >> frame);
    EXPECT_EQ(analysis.Hear(std::span<const int16_t, kFrame>(samples)), frame % 2 == 1);
    TakeLogBands(analysis.power(), bands[frame]);
  }
  EXPECT_NE(bands[2], bands[3]);
  EXPECT_TRUE(std::equal(bands[2].begin(), bands[2].end(), analysis.inputs().begin()));
  EXPECT_TRUE(std::equal(bands[3].begin(), bands[3].end(), analysis.inputs().begin() + kLogBands));
  analysis.Close();
}

}  // namespace
}  // namespace vask
