// The Wiener gains: noise tracking and where 64 bits overflow. And the whole reduction of a steady noise.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <tuple>

#include "support/stream.h"

namespace vask::test {
namespace {

// One bin. Amplitudes: powers are the squares, and half a unit more, since the roots are up to 5e-7 low.
struct Bin {
  int64_t current, mean, noise, cleaned;
  int32_t gain = 0;

  Bin& Design(int32_t t, uint16_t flag) {
    wiener_vad vad = {.frame_count = t, .vad_flag = flag, .hangover = 0, .speech_run = 0};
    current *= current + 1, mean *= mean + 1;
    FilterCalc(&current, &noise, &cleaned, &mean, &gain, &vad, 1);
    return *this;
  }
};

TEST(NoiseTracker, LearnsAMeanThenForgetsOnePercentAFrameAndStandsStillInSpeech) {
  // Frame, flag, noise, amplitude, noise afterwards: 98/99; 99 % and 1 %, cut; never below 1.
  for (const auto& [t, flag, before, amplitude, after] :
       std::vector<std::array<int32_t, 5>>{{99, 0, 990000, 0, 980000},
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

TEST(NoiseReduction, TakesStationaryNoiseDownAndLetsSpeechThrough) {
  const Samples scene = Join({Hiss(140, 300, 18), Hiss(8, 20000, 20)});
  Stream stream(1);
  const auto energy = [](const int16_t* s) { return std::inner_product(s, s + 160, s, 0.0); };
  double in = 0, out = 0;
  for (size_t t = 0; t < 148; ++t) {
    const Samples frame = stream.Process(1, scene, t).samples;
    if (t == 0 || t == 140) in = out = 0;
    if (t >= 100) in += energy(&scene[(t - 2) * 160]), out += energy(frame.data());
    if (t == 139) {
      EXPECT_LT(out, in / 40);  // the floor is -22.7 dB, less where the ear is sharp
    }
  }
  EXPECT_GT(out, in / 2);
}

}  // namespace
}  // namespace vask::test
