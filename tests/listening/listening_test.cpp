// The listening path: what goes through unchanged, what is cut, what is kept, and how it begins.
#include "listening/listening.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <vector>

#include "dsp/float_fft.h"
#include "listening/gains.h"
#include "listening/noise_floor.h"
#include "support/inputs.h"

namespace vask {
namespace {

using test::Samples;

constexpr int16_t kNobody = 0, kSomebody = 32767;  // verdicts, Q15
constexpr size_t kOneSecond = 16000;

struct Path : Listening {
  explicit Path(float floor_db = -15, float mix = 1) { EXPECT_TRUE(Open(floor_db, mix)); }
  ~Path() { Close(); }
  Path(const Path&) = delete;
  Path& operator=(const Path&) = delete;
};

// The output for `input`, its delay taken off, where verdict(frame) is known of each frame.
template <typename Verdict>
Samples Filtered(Listening& path, const Samples& input, Verdict verdict) {
  Samples output;
  for (size_t t = 0; (t + 1) * kFrame <= input.size(); ++t) {
    std::array<int16_t, kFrame> frame;
    path.Filter(std::span<const int16_t, kFrame>(&input[t * kFrame], kFrame), frame);
    if (t % 2 == 1) path.LearnNoise(verdict(static_cast<int32_t>(t) - 10));
    output.insert(output.end(), frame.begin(), frame.end());
  }
  output.erase(output.begin(), output.begin() + Listening::kDelay);
  return output;
}

int16_t Nobody(int32_t /*frame*/) { return kNobody; }
int16_t Somebody(int32_t /*frame*/) { return kSomebody; }

double LevelDb(const Samples& x, size_t from, size_t to) {
  double sum = 0;
  for (size_t i = from; i < to; ++i) sum += double{1} * x[i] * x[i];
  return 10 * std::log10(sum / static_cast<double>(to - from) + 1e-9);
}

// Amplitude of the part of x that turns `cycles` times in a second, over whole seconds.
double AmplitudeAt(const Samples& x, size_t from, size_t to, double cycles) {
  std::complex<double> sum = 0;
  for (size_t i = from; i < to; ++i)
    sum +=
        std::polar(static_cast<double>(x[i]), -test::kTwoPi * cycles * static_cast<double>(i) / kOneSecond);
  return 2 * std::abs(sum) / static_cast<double>(to - from);
}

TEST(FloatFft, IsTheTransformInDoublePrecisionThereAndBack) {
  for (const test::Input& input : test::Inputs(kFftSize, 20)) {
    FloatSamples samples, back;
    std::copy(input.samples.begin(), input.samples.end(), samples.begin());
    FloatSpectrum spectrum;
    ForwardFft(samples, spectrum);
    double largest = 1;
    for (const float s : samples) largest += std::abs(static_cast<double>(s));
    const double bound = 4e-7 * largest;  // a few roundings of 2^-24 in each of nine stages
    for (size_t k = 0; k < kSpectrumBins; ++k) {
      std::complex<double> sum = 0;
      for (size_t n = 0; n < kFftSize; ++n)
        sum +=
            std::polar(double{samples[n]}, -test::kTwoPi * static_cast<double>(n * k % kFftSize) / kFftSize);
      ASSERT_NEAR(spectrum.re[k], sum.real(), bound) << input.name << ", bin " << k;
      ASSERT_NEAR(spectrum.im[k], sum.imag(), bound) << input.name << ", bin " << k;
    }
    InverseFft(spectrum, back);
    for (size_t n = 0; n < kFftSize; ++n)
      ASSERT_NEAR(back[n] / 256, samples[n], 0.02) << input.name << ", sample " << n;
  }
}

TEST(Listening, GivesTheInputDelayedWhereNothingIsToBeCut) {
  struct Case {
    const char* why;
    float floor_db, mix;
    int16_t (*verdict)(int32_t);
  };
  Samples input = test::Noise(kOneSecond, 32767, 1);
  for (size_t i = 4000; i < 6000; ++i) input[i] = i % 2 == 0 ? -32768 : 32767;
  std::fill(input.begin() + 8000, input.begin() + 8100, int16_t{-32768});
  for (const Case& c :
       {Case{"floor at 0 dB", 0, 1, Nobody}, Case{"nothing filtered in the mix", -15, 0, Nobody}}) {
    Path path(c.floor_db, c.mix);
    const Samples output = Filtered(path, input, c.verdict);
    for (size_t i = 0; i < output.size(); ++i) ASSERT_EQ(output[i], input[i]) << c.why << ", sample " << i;
    EXPECT_EQ(path.high_gain(), 1) << c.why;
  }
  Path path;
  const Samples output = Filtered(path, input, Somebody);  // no noise is known once the detector has spoken
  for (size_t i = 20 * kFrame; i < output.size(); ++i) ASSERT_EQ(output[i], input[i]) << "sample " << i;
}

TEST(Listening, CutsASteadyBackgroundToTheFloorFromItsFirstSampleOn) {
  for (const float floor_db : {-9.0f, -15.0f, -24.0f}) {
    for (const int32_t amplitude : {100, 1000, 30000}) {
      Path path(floor_db);
      const Samples input = test::Noise(3 * kOneSecond, amplitude, 2);
      const Samples output = Filtered(path, input, Nobody);
      const auto cut = [&](size_t from, size_t to) {
        return LevelDb(output, from, to) - LevelDb(input, from, to);
      };
      EXPECT_NEAR(cut(kOneSecond, output.size()), floor_db, 0.4) << amplitude;
      EXPECT_NEAR(path.high_gain(), std::pow(10, floor_db / 20), 0.1) << amplitude;
      for (size_t from = 0; from < kOneSecond; from += 4 * kFrame)  // 40 ms: no burst
        EXPECT_LT(cut(from, from + 4 * kFrame), floor_db / 2) << amplitude << ", sample " << from;
    }
  }
}

TEST(Listening, KeepsAToneInNoiseWithinOneDb) {
  constexpr double kCycles = 1000, kAmplitude = 6000;
  Samples input = test::Noise(4 * kOneSecond, 1500, 3);
  for (size_t i = kOneSecond; i < 3 * kOneSecond; ++i)
    input[i] = static_cast<int16_t>(
        input[i] +
        std::lround(kAmplitude * std::sin(test::kTwoPi * kCycles * static_cast<double>(i) / kOneSecond)));
  Path path;
  const Samples output =
      Filtered(path, input, [](int32_t frame) { return frame >= 100 && frame < 300 ? kSomebody : kNobody; });
  const double kept = AmplitudeAt(output, 2 * kOneSecond, 3 * kOneSecond, kCycles);
  EXPECT_NEAR(20 * std::log10(kept / kAmplitude), 0, 1);
  EXPECT_NEAR(AmplitudeAt(output, kOneSecond, 2 * kOneSecond, kCycles), kept, 0.03 * kept)
      << "its start is cut";
  const size_t after = 3 * kOneSecond + 6000;
  EXPECT_LT(LevelDb(output, after, output.size()), LevelDb(input, after, output.size()) - 13);
}

TEST(Listening, LearnsOnlyWhereNobodySpeaksAndFromThatTime) {
  // Loud for the first second, when somebody speaks; then quiet. Of a floor that had heard the loud part, the
  // quiet one would be a small part: its gain would be the floor's at once.
  Samples input = test::Noise(2 * kOneSecond, 300, 4);
  const Samples loud = test::Noise(kOneSecond, 20000, 5);
  std::copy(loud.begin(), loud.end(), input.begin());
  Path path;
  const Samples output =
      Filtered(path, input, [](int32_t frame) { return frame < 100 ? kSomebody : kNobody; });
  EXPECT_NEAR(LevelDb(output, 3200, kOneSecond - 320), LevelDb(input, 3200, kOneSecond - 320), 0.01);
  EXPECT_NEAR(LevelDb(output, kOneSecond + 320, kOneSecond + 1280),
              LevelDb(input, kOneSecond + 320, kOneSecond + 1280), 0.1)
      << "learned too early";
  EXPECT_LT(LevelDb(output, 24000, 31000), LevelDb(input, 24000, 31000) - 12) << "not learned";
}

TEST(Listening, LearnsFromTheVeryStepThatTheVerdictIsAbout) {
  // Somebody speaks, loudly, but for the step of frames 100 and 101. Its two windows begin in frame 99. With
  // any other frame in the floor the loud noise behind it would be cut.
  Samples input = test::Noise(2 * kOneSecond, 20000, 7);
  for (size_t i = 99 * kFrame; i < 102 * kFrame; ++i) input[i] = static_cast<int16_t>(input[i] / 100);
  Path path;
  const Samples output =
      Filtered(path, input, [](int32_t frame) { return frame / 2 == 50 ? kNobody : kSomebody; });
  EXPECT_NEAR(LevelDb(output, 18000, 31000), LevelDb(input, 18000, 31000), 0.05);
}

TEST(Gains, AreThoseOfTheSecondStepAboveTheFloor) {
  struct Case {
    float previous_share, noise_factor, least_gain, filtered, speech, gain;
  };
  // Power 16 over a noise of 1. prior = previous_share * speech * factor + (1 - previous_share) *
  // max(16 factor - 1, 0), snr = (prior / (1 + prior))^2 * 16 factor, gain = snr / (1 + snr).
  for (const Case& c : {Case{0.92f, 1, 0, 1, 0, 0.8264f},      // prior 1.2, snr 4.760
                        Case{0.92f, 0.5f, 0, 1, 0, 0.5076f},   // prior 0.56, snr 1.031
                        Case{0.92f, 1, 0, 1, 10, 0.93015f},    // prior 10.4, snr 13.316
                        Case{0.92f, 0.05f, 0.2f, 1, 0, 0.2f},  // prior 0
                        Case{0.92f, 0.5f, 0, 0.5f, 0, 0.7538f}}) {
    BinValues inverse_noise, power, speech, gains;
    inverse_noise.fill(1);
    power.fill(16);
    speech.fill(c.speech);
    FloatSpectrum spectrum;
    spectrum.re.fill(0);
    spectrum.im.fill(4);
    WeighBins({c.previous_share, c.noise_factor, c.least_gain, c.filtered}, inverse_noise, power, speech,
              gains, spectrum);
    for (size_t k = 0; k < kSpectrumBins; ++k) {
      ASSERT_NEAR(gains[k], c.gain, 1e-4) << "bin " << k;
      ASSERT_NEAR(spectrum.im[k], 4 * c.gain, 1e-3) << "bin " << k;
    }
    const float filter = (c.gain - 1 + c.filtered) / c.filtered;  // without the mix
    EXPECT_NEAR(speech[100], 16 * filter * filter, 4e-3);
  }
}

TEST(Listening, LeavesDigitalSilenceSilentAndLearnsNothingFromIt) {
  Samples input(kOneSecond, 0);
  const Samples noise = test::Noise(kOneSecond, 1000, 6);
  input.insert(input.end(), noise.begin(), noise.end());
  input.resize(3 * kOneSecond, 0);
  Path path;
  const Samples output = Filtered(path, input, Nobody);
  for (size_t i = 0; i < output.size(); ++i) {
    if (i < kOneSecond || i >= 2 * kOneSecond + kFrame) {  // the last window reaches into the zeros
      ASSERT_EQ(output[i], 0) << "sample " << i;
    }
  }
  // Heard first at 1 s, told of it 0.12 s later. A floor of zeros would take half a second to rise.
  EXPECT_LT(LevelDb(output, kOneSecond + 3200, kOneSecond + 6400),
            LevelDb(input, kOneSecond + 3200, kOneSecond + 6400) - 12);
}

TEST(NoiseFloor, IsTheWeightedMeanOfTheLogarithmsAndForgets) {
  // Powers of two, whose logarithms are exact: 2^10, 2^14 and 2^22, less the 1 that is added to each.
  BinValues low, middle, high, inverse;
  low.fill(1023);
  middle.fill(16383);
  high.fill(4194303);
  const auto octaves = [&](const NoiseFloor& floor) {
    InvertFloor(floor, inverse);
    return -std::log2(1.75 * static_cast<double>(inverse[100]));
  };
  NoiseFloor floor = {};
  LearnPair(low, middle, 0.25f, floor);
  EXPECT_NEAR(octaves(floor), 12, 1e-3) << "the first pair counts in full, however small its share";
  LearnPair(high, high, 0.25f, floor);
  LearnPair(high, high, 0, floor);
  EXPECT_NEAR(octaves(floor), 17, 1e-3) << "the second pair has half of all weight so far";
  for (int32_t t = 0; t < 100; ++t) LearnPair(low, low, 1, floor);
  EXPECT_NEAR(octaves(floor), 10, 0.01);
}

TEST(Listening, IsAsOpenedAfterClear) {
  const Samples input = test::Room();
  Path path;
  const Samples first = Filtered(path, input, Nobody);
  path.Clear();
  EXPECT_EQ(Filtered(path, input, Nobody), first);
}

}  // namespace
}  // namespace vask
