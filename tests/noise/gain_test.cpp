// The Wiener gains: noise tracking, the formula in double precision, and where 64 bits overflow.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include "support/inputs.h"

namespace {

using vask::test::kOneQ30;

// One bin. Amplitudes: powers are the squares, and half a unit more, since the roots are up to 5e-7 low.
struct Bin {
  int64_t current, mean, noise, cleaned;
  int32_t gain = 0;

  Bin& Design(int32_t t, uint16_t flag) {
    wiener_vad vad = {.frame_count = t, .vad_flag = flag, .hangover = 0, .speech_run = 0};
    current *= current + 1, mean *= mean + 1;
    FilterCalc(&current, &noise, &cleaned, &mean, &gain, &vad, 1);
    FilterCalc(&current, &noise, &cleaned, &mean, &gain, &vad, 0);
    FilterCalc(&current, &noise, &cleaned, &mean, &gain, nullptr, 1);
    return *this;
  }
};

TEST(NoiseTracker, IsTheMeanOfNinetyNineFramesThenForgetsOnePercentAndStandsStillInSpeech) {
  std::mt19937 random(13);
  int64_t noise = 0, sum = 0;
  for (int32_t t = 1; t < 100; ++t) {
    const int64_t amplitude = random() >> 8;
    sum += amplitude;
    noise = Bin{0, amplitude, noise, 0}.Design(t, 0).noise;
    ASSERT_LE(std::abs(noise - sum / t), 10 * t + 10) << "frame " << t << ", seed 13";  // roots are 5e-7 off
  }
  // Frame, flag, noise, amplitude, noise afterwards: 98/99; 99 % and 1 %, cut; never below 1.
  for (const auto& [t, flag, before, amplitude, after] :
       vask::test::Cases<5>{{99, 0, 990000, 0, 980000},
                            {100, 0, 1000000, 0, 989999},
                            {INT32_MAX, 0, 0, 1 << 20, 10485},
                            {100, 0, 0, 0, 1},
                            {0, 0, 500, 1 << 20, 1 << 20},
                            {100, 1, 5000, 1 << 20, 5000},
                            {1, 1, -9, 1 << 20, 1}}) {
    EXPECT_EQ((Bin{0, amplitude, before, 0}.Design(t, static_cast<uint16_t>(flag)).noise), after)
        << "frame " << t << " from " << before;
  }
}

TEST(GainDesign, FollowsTheDecisionDirectedFormula) {
  std::mt19937 random(14);
  for (int i = 0; i < 20000; ++i) {
    const int64_t current = random() >> 12, mean = random() >> 12 >> (random() % 10),
                  noise = 1000 + (random() >> 12);
    const int64_t cleaned = random() >> 12 >> (random() % 10);
    Bin bin = {current, mean, noise, cleaned};
    const double snr = static_cast<double>(mean) / static_cast<double>(noise);
    const double before = static_cast<double>(bin.cleaned) / static_cast<double>(noise);
    const double prior = 0.98 * before + 0.02 * std::max(snr - 1, 0.0);
    const double refined = std::max(prior / (1 + prior) * snr, std::pow(10, -22 / 20.0));
    bin.Design(1, 1);
    // The first gain is cut to 2^-16 and multiplied by the SNR; 0.98 and 0.02 are cut likewise.
    const double bound = 3e-5 + 3e-5 * snr / (1 + refined) / (1 + refined);
    ASSERT_NEAR(bin.gain / kOneQ30, refined / (1 + refined), bound)
        << "snr " << snr << " after " << before << ", seed 14";
    ASSERT_EQ(bin.cleaned, (current * bin.gain) >> 30) << "snr " << snr << " after " << before << ", seed 14";
    ASSERT_TRUE(bin.current == current && bin.mean == mean) << current << ", " << mean;  // roots
  }
}

TEST(GainDesign, WorksOutTheseBins) {
  const auto gain = [](int64_t snr_q20) {
    return static_cast<int32_t>((snr_q20 << 30) / (snr_q20 + (1 << 20)));
  };
  using Case = std::tuple<int64_t, int64_t, int64_t, int32_t>;  // mean, noise, cleaned before, gain
  const Case cases[] = {
      {0, 0, 0, gain(83291)},  // the floor, -22 dB: 0.0794 in Q20
      // As much before: prior 0.98, first gain 0.49495, in Q16 32436, times an SNR of 1.0.
      {4096, 4096, 4096, gain(32436 << 4)},
      // An SNR of M: prior M * 20976 (1311 of 2^16), 2^33 to 2^34 here, so that its shift by 30 is negative
      // and the first gain 1.0. The second is (M << 50) / (M + 1 << 20), of which 14 bits of M survive: 8480
      // of 500000, which is negative; 0 of 507904; 4096 of 512000, 2^62 / (512001 << 20).
      {500000, 1, 0, 1 << 30},
      {507904, 1, 0, 0},
      {512000, 1, 0, 8589917},
      // From 2^27 on SNRs are limited to 2^47 - 1: first gain 1.0 as above, then -2^30 / 2^47.
      {(1 << 27) + 4096, 1, 0, 0},
      // A limited SNR before: prior 64225 * 2^31 - 1 + 8191 * 20976, 2^61 of it survive the shift: the first
      // gain is 18056, 1 in Q16; times an SNR of 2^33 it is 131072 in Q20, an eighth. A negative SNR is not
      // limited.
      {1 << 13, 1, (1 << 27) + (1 << 13), gain(131072)},
      {1 << 13, 1, int64_t{1} << 43, gain(83291)},
  };
  for (const auto& [mean, noise, cleaned, expected] : cases) {
    EXPECT_EQ((Bin{1 << 20, mean, noise, cleaned}.Design(100, 1).gain), expected) << mean << ", " << cleaned;
  }
}

}  // namespace
