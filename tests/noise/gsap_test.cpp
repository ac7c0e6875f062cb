// The speech detector: likelihood ratios, speech-absence probability, decision with hangover, band noise.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include "support/inputs.h"

namespace {

using Bands = std::vector<int64_t>;

// A detector of n bands past its first 20 frames, with a band noise and no speech before.
class Detector {
 public:
  explicit Detector(int32_t n, int64_t noise = 100000) : n_(n) {
    EXPECT_EQ(init_wiener_spectrum(&spectrum, n) + init_wiener_gsap_data(&data, n), 2);
    vad.frame_count = 20;
    std::fill_n(spectrum.noise_band, n, noise);
  }
  ~Detector() { close_wiener_spectrum(&spectrum), close_wiener_gsap_data(&data); }
  Detector(const Detector&) = delete;
  Detector& operator=(const Detector&) = delete;

  // One frame of equal bands, which is also the frame before, so that it is the mean of both.
  void Frame(int64_t signal) {
    const Bands x(static_cast<size_t>(n_), signal);
    for (int32_t b = 0; b < n_; ++b) write_int64_rbuf(&spectrum.ring_short[b], signal);
    VAD_BasedOnGSAP(&vad, &spectrum, &data, x.data(), n_);
    VAD_BasedOnGSAP(&vad, &spectrum, &data, x.data(), 0),
        VAD_BasedOnGSAP(&vad, &spectrum, &data, nullptr, n_);
  }

  wiener_vad vad = {};
  wiener_spectrum spectrum = {};
  wiener_gsap_data data = {};

 private:
  int32_t n_;
};

TEST(Gsap, MeetsNoiseAtItsLevelWithAnEvenProbability) {
  Detector d(35);
  d.Frame(100000);
  // SNR 1: prior 1310, r = v = 1284, g = 1259, q = 1259, e^q 66807, ratio 65522; product 65046.
  EXPECT_EQ(d.data.lratio[34], 65522);
  EXPECT_EQ(d.spectrum.clean_band[34], (int64_t{1259} * 100000) >> 16);
  EXPECT_EQ(d.data.gsap, 32890);
  EXPECT_EQ(d.spectrum.noise_band[34], ((63345 * int64_t{100000}) >> 16) + ((2191 * int64_t{100000}) >> 16));
}

// The formulas in double precision. Q16 quantities are cut at every step, so the bounds are wide for weak
// SNRs.
TEST(Gsap, FollowsTheGaussianLikelihoodRatio) {
  std::mt19937 random(15);
  for (int i = 0; i < 20000; ++i) {
    const int64_t n = 5000 + (random() >> 16), s = random() >> 14 << 1, c = random() >> 13 >> (random() % 12);
    Detector d(1, n);
    d.spectrum.clean_band[0] = c;
    d.Frame(s);
    const double signal = static_cast<double>(s), posterior = signal / static_cast<double>(n);
    const double prior = 0.02 * posterior + 0.98 * static_cast<double>(c) / static_cast<double>(n);
    const double v = prior / (1 + prior) * posterior;
    const double ratio = std::exp(std::min(posterior * v / (1 + v), 10.0)) / (1 + v);
    const double bound = 3e-5 * (1 + ratio * (1 + posterior + posterior * posterior)),
                 clean = v / (1 + v) * signal;
    ASSERT_NEAR(static_cast<double>(d.data.lratio[0]) / 65536, std::clamp(ratio, 1 / 65536.0, 2.0), bound)
        << posterior << ", " << prior << ", seed 15";
    ASSERT_NEAR(static_cast<double>(d.spectrum.clean_band[0]), clean, signal * 5e-5 * (1 + posterior) + 1)
        << posterior << ", " << prior;
  }
}

TEST(Gsap, LimitsRatiosAndLetsLoudProductsWrap) {
  using Case = std::tuple<int64_t, int64_t, int64_t>;  // signal, noise, ratio
  const Case cases[] = {
      {2000000, 100000, 131072},  // 20 times the noise: limited
      // v is 29950 in Q16, of which 2^32 is twice; e^10 to a float, times 2. Noise and signal are 1 at least.
      {30000, 1, 44052},
      {30000, 0, 44052},
      {30000, -5, 44052},
      {0, 100000, 65536},
      {50000, 1, 1},  // posterior * v is above 2^63
      // posterior 2^52, prior 0.02 of it, r 65535: v needs 68 bits before its shift and is 2^52 - 2^36, so
      // that 2^32 / (1 + v) is 0. Cut to 64 bits v would be negative and the ratio 1.0.
      {int64_t{1} << 36, 1, 1}};
  for (const auto& [signal, noise, ratio] : cases) {
    Detector d(1, noise);
    d.Frame(signal);
    EXPECT_EQ(d.data.lratio[0], ratio) << signal << " over " << noise;
  }
  // Bands at their limit of 2.0: 2^32 / (2^(16 + n) + 2^16). 13107 is not below 0.2; above 0.35 noise is
  // learned. From 31 bands on the product is 2^63 and more before its shift: certainly speech.
  for (const auto& [bands, gsap, flag] :
       vask::test::Cases<3>{{1, 21845, 0}, {2, 13107, 0}, {3, 7281, 1}, {10, 63, 1}, {35, 0, 1}}) {
    Detector d(bands);
    d.Frame(2000000);
    EXPECT_EQ(d.data.gsap, gsap) << bands << " bands";
    EXPECT_TRUE(d.vad.vad_flag == flag && d.data.vad_flag == flag) << bands << " bands";
    EXPECT_EQ(d.spectrum.noise_band[0], 100000) << bands << " bands";
  }
}

TEST(Gsap, DecidesWithRunAndHangover) {
  // Speech or noise after a run and with a hangover left: flag, run, hangover afterwards.
  for (const auto& [is_speech, run, hangover, flag, run_after, hangover_after] :
       vask::test::Cases<6>{{1, 0, 0, 1, 1, 0},
                            {1, 65535, 5, 1, 65535, 5},
                            {0, 3, 0, 0, 0, 0},
                            {0, 4, 0, 1, 0, 14},
                            {0, 4, 3, 1, 0, 14},
                            {0, 3, 9, 1, 0, 8},
                            {0, 0, 1, 1, 0, 0}}) {
    Detector d(35);
    d.vad = {.frame_count = 20,
             .vad_flag = static_cast<uint16_t>(1 - flag),
             .hangover = static_cast<int16_t>(hangover),
             .speech_run = static_cast<uint16_t>(run)};
    d.Frame(is_speech ? 2000000 : 100000);
    EXPECT_TRUE(d.vad.vad_flag == flag && d.vad.speech_run == run_after && d.vad.hangover == hangover_after)
        << is_speech << " after " << run << ", " << hangover;
  }
}

TEST(Gsap, LearnsTheNoiseOfTheFirstTwentyFramesWithoutDeciding) {
  Detector d(2, 777);
  d.vad.frame_count = 0;
  std::mt19937 random(16);
  int64_t sum = 0, before = 0;
  for (int32_t t = 1; t <= 20; ++t) {
    const int64_t x = random() >> 6;  // as loud as speech
    sum += x;
    VAD_BasedOnGSAP(&d.vad, &d.spectrum, &d.data, Bands{x, 0}.data(), 2);
    ASSERT_NEAR(static_cast<double>(d.spectrum.noise_band[0]), static_cast<double>(sum / t), 2 * t)
        << "frame " << t << ", seed 16";
    ASSERT_EQ((Bands{d.spectrum.noise_band[1], d.spectrum.sig_band[0], d.spectrum.ring_long[0].data[t - 1]}),
              (Bands{1, t == 1 ? x : x / 2 + before / 2, x}))
        << "frame " << t << ", seed 16";
    ASSERT_EQ(d.vad.vad_flag + d.vad.speech_run + d.data.vad_flag, 0) << "frame " << t;
    before = x;
  }
  const auto learned = static_cast<double>(d.spectrum.noise_band[0]);
  d.Frame(0);  // a probability above 0.35: the noise sinks by a few percent
  const double keep = 0.9 + 0.1 / (1 + d.data.gsap / 65536.0);
  EXPECT_NEAR(static_cast<double>(d.spectrum.noise_band[0]), learned * keep, learned * 2e-5);
}

}  // namespace
