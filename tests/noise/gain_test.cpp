// Noise tracking of one bin, and the whole noise reduction over steady noise.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include <algorithm>
#include <array>
#include <numeric>

#include "support/stream.h"

namespace vask::test {
namespace {

// One bin. Amplitudes a; their powers are a * (a + 1), half a unit above, since the roots are up to 5e-7 low.
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

TEST(NoiseTracker, LearnsAMeanThenForgetsOnePercentPerFrameAndHoldsInSpeech) {
  // Frame, flag, noise, amplitude, noise afterwards: 98/99; 99 % and 1 %, truncated; never below 1.
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

TEST(NoiseReduction, ReducesStationaryNoiseAndPassesSpeech) {
  const Samples scene = Join({Hiss(140, 300, 18), Hiss(8, 20000, 20)});
  Stream stream(1);
  const auto energy = [](const int16_t* s) { return std::inner_product(s, s + 160, s, 0.0); };
  double in = 0, out = 0;
  for (size_t t = 0; t < 148; ++t) {
    const Samples frame = stream.Process(1, scene, t).samples;
    if (t == 0 || t == 140) in = out = 0;
    if (t >= 100) in += energy(&scene[(t - 2) * 160]), out += energy(frame.data());
    if (t == 139) {
      EXPECT_LT(out, in / 40);  // the floor is -22.7 dB, higher where the ear is sensitive
    }
  }
  EXPECT_GT(out, in / 2);
}

}  // namespace
}  // namespace vask::test
