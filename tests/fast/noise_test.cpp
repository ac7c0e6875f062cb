// The noise reduction's fast forms: the bits of the plain ones, at all levels and over sequences of frames.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include <algorithm>
#include <array>
#include <tuple>

#include "dsp/arith.h"
#include "dsp/fft_512.h"
#include "dsp/power_spectrum.h"
#include "dsp/square_root.h"
#include "noise/convolution.h"
#include "noise/convolution_fast.h"
#include "noise/gain_design.h"
#include "noise/gain_design_fast.h"
#include "noise/gsap.h"
#include "noise/gsap_fast.h"
#include "support/inputs.h"

namespace vask {
namespace {

// Not negative, of any bit length up to `bits`.
int64_t AnyLevel(std::mt19937_64& random, int bits) {
  return static_cast<int64_t>(random() >> 1) >> (63 - random() % static_cast<unsigned>(bits + 1));
}

TEST(Roots, AreThoseOfOneAfterTheOther) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    std::array<int64_t, 129> x, roots;
    for (int64_t& v : x) v = AnyLevel(random, i % 2 == 0 ? 52 : 63);
    if (i % 5 == 0) x[random() % x.size()] = -x[3];
    Roots(x, roots.data());
    for (size_t k = 0; k < x.size(); ++k) ASSERT_EQ(roots[k], Root(x[k])) << x[k];
  }
  // Every bit length and its neighbours.
  for (int bits = 0; bits < 63; ++bits) {
    const int64_t v = int64_t{1} << bits;
    std::array<int64_t, 4> x = {v - 1, v, v + 1, v + v / 2}, roots;
    Roots(x, roots.data());
    for (size_t k = 0; k < x.size(); ++k) EXPECT_EQ(roots[k], Root(x[k])) << x[k];
  }
}

struct Gains {
  std::vector<int64_t> current, mean, noise, cleaned;
  std::vector<int32_t> gain;
  GainSpectra Spectra() { return {current, mean, noise, cleaned, gain}; }
  bool operator==(const Gains&) const = default;
};

TEST(GainDesign, IsThatOfThePlainFormOnAllLevels) {
  int moderate = 0;
  for (uint32_t seed = 0; seed < 3000; ++seed) {
    std::mt19937_64 random(seed);
    const int bits = std::array{22, 31, 40, 62}[seed % 4];
    Gains fast{std::vector<int64_t>(129), {}, {}, {}, std::vector<int32_t>(129)};
    fast.mean = fast.noise = fast.cleaned = fast.current;
    wiener_vad vad{};
    for (int32_t frame = 1; frame < 6; ++frame) {
      vad.frame_count = seed % 3 == 0 ? frame + 97 : frame;
      vad.vad_flag = random() % 2;
      const int quiet = static_cast<int>(random() % 8);  // amplitudes near to each other, and far
      for (size_t k = 0; k < 129; ++k) {
        fast.current[k] = AnyLevel(random, bits) >> quiet;
        fast.mean[k] = quiet < 4 ? AnyLevel(random, bits) : fast.current[k] + 1;
      }
      Gains plain = fast, portable = fast;
      DesignGain(fast.Spectra(), vad);
      DesignGainPlain(plain.Spectra(), vad);
      ASSERT_TRUE(fast == plain) << "seed " << seed << ", frame " << frame;
      const int32_t keep_q30 = vad.vad_flag != 0       ? kOneQ30
                               : vad.frame_count < 100 ? kOneQ30 - kOneQ30 / vad.frame_count
                                                       : Q<30>(0.99);
      for (size_t k = 0; k + kGainBlock <= 129; k += kGainBlock) {
        if (!DesignModerateBlockPortable(portable.Spectra(), keep_q30, k)) continue;
        ++moderate;
        for (size_t i = k; i < k + kGainBlock; ++i) {
          ASSERT_EQ(std::tuple(portable.gain[i], portable.noise[i], portable.cleaned[i]),
                    std::tuple(plain.gain[i], plain.noise[i], plain.cleaned[i]))
              << "seed " << seed << ", frame " << frame << ", bin " << i;
        }
      }
    }
  }
  EXPECT_GT(moderate, 10000);
}

TEST(LikelihoodRatios, AreThoseOfThePlainFormOnAllLevels) {
  for (uint32_t seed = 0; seed < 20000; ++seed) {
    std::mt19937_64 random(seed);
    std::array<int64_t, 35> noise, signal, clean, ratio = {};
    const int bits = std::array{20, 31, 47, 62}[seed % 4];
    for (size_t b = 0; b < noise.size(); ++b) {
      noise[b] = AnyLevel(random, bits);
      signal[b] = seed % 3 == 0 ? AnyLevel(random, bits) + 1 : 1 + noise[b] + noise[b] / 8 * (seed % 5);
      clean[b] = AnyLevel(random, bits);
    }
    auto portable_noise = noise, portable_clean = clean, portable_ratio = ratio;
    auto plain_noise = noise, plain_clean = clean, plain_ratio = ratio;
    LikelihoodRatios(noise, signal, clean.data(), ratio.data());
    LikelihoodRatiosPortable(portable_noise, signal, portable_clean.data(), portable_ratio.data());
    for (size_t b = 0; b < noise.size(); ++b)
      plain_ratio[b] = LikelihoodRatio(plain_noise[b], signal[b], plain_clean[b]);
    ASSERT_TRUE(ratio == plain_ratio && clean == plain_clean && noise == plain_noise) << "seed " << seed;
    ASSERT_TRUE(portable_ratio == ratio && portable_clean == clean && portable_noise == noise)
        << "seed " << seed;
  }
}

TEST(Convolution, IsThatOfThePlainFormForAnyTaps) {
  int seed = 0;
  for (const test::Input& input : test::Inputs(332)) {
    std::mt19937 random(static_cast<uint32_t>(++seed));
    std::array<int32_t, 25> taps;
    for (int32_t& tap : taps) tap = static_cast<int32_t>(random()) >> (random() % 31);
    taps[0] = taps[24] = 0;
    for (size_t n : {160u, 159u, 7u}) {
      std::vector<int16_t> plain(n), fast(n), portable(n);
      const int16_t* now = input.samples.data() + 160;
      Convolve(now, now - n, taps.data(), plain, std::min(static_cast<int32_t>(n), 12));
      if (n < 12) continue;
      ConvolveFast(now, taps.data(), fast, 12);
      ConvolvePortable(now, taps.data(), portable, 12);
      ASSERT_EQ(fast, plain) << input.name << ", taps of seed " << seed;
      ASSERT_EQ(portable, plain) << input.name << ", taps of seed " << seed;
    }
  }
}

TEST(PowerOfWindow, IsThatOfTheWideForm) {
  const fft_tables& twiddles = test::Twiddles();
  for (const test::Input& input : test::Inputs(400)) {
    for (int32_t shift : {10, 1}) {
      Samples512 windowed{};
      std::transform(input.samples.begin(), input.samples.end(), windowed.begin(),
                     [](int16_t s) { return s * 700; });
      std::array<int64_t, 512> fast, plain;
      std::copy(windowed.begin(), windowed.end(), plain.begin());
      RealFftFull(plain, 9, twiddles);
      PowerSpectrum(plain, shift);
      PowerOfWindow(windowed, shift, twiddles, fast);
      ASSERT_EQ(fast, plain) << input.name;
      if (!IsNarrow(windowed)) continue;
      Packed512 transform;
      RealFft512(windowed, twiddles, transform);
      PowerOf512Portable(transform, shift, fast.data());
      ASSERT_EQ(fast, plain) << input.name;
    }
  }
}

}  // namespace
}  // namespace vask
