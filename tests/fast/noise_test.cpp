// The noise reduction's fast forms: the bits of the plain ones, at all levels and over sequences of frames.
#include <gtest/gtest.h>
#include <vask/noise.h>

#include <array>
#include <random>
#include <vector>

#include "dsp/square_root.h"
#include "noise/gain_design.h"
#include "noise/gsap_fast.h"
#include "support/levels.h"

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
    test::AtEachLevel([&](Level level) {
      Roots(x, roots.data());
      for (size_t k = 0; k < x.size(); ++k) ASSERT_EQ(roots[k], Root(x[k])) << NameOf(level) << ' ' << x[k];
    });
  }
  // Every bit length and its neighbours.
  for (int bits = 0; bits < 63; ++bits) {
    const int64_t v = int64_t{1} << bits;
    std::array<int64_t, 4> x = {v - 1, v, v + 1, v + v / 2}, roots;
    test::AtEachLevel([&](Level level) {
      Roots(x, roots.data());
      for (size_t k = 0; k < x.size(); ++k) EXPECT_EQ(roots[k], Root(x[k])) << NameOf(level) << ' ' << x[k];
    });
  }
}

struct Gains {
  std::vector<int64_t> current, mean, noise, cleaned;
  std::vector<int32_t> gain;
  GainSpectra Spectra() { return {current, mean, noise, cleaned, gain}; }
  bool operator==(const Gains&) const = default;
};

TEST(GainDesign, IsThatOfThePlainFormOnAllLevels) {
  for (uint32_t seed = 0; seed < 3000; ++seed) {
    const int bits = std::array{22, 31, 40, 62}[seed % 4];
    std::vector<Gains> plain;
    test::AtEachLevel([&](Level level) {
      std::mt19937_64 random(seed);
      Gains gains{std::vector<int64_t>(129), {}, {}, {}, std::vector<int32_t>(129)};
      gains.mean = gains.noise = gains.cleaned = gains.current;
      wiener_vad vad{};
      for (int32_t frame = 1; frame < 6; ++frame) {
        vad.frame_count = seed % 3 == 0 ? frame + 97 : frame;
        vad.vad_flag = random() % 2;
        const int quiet = static_cast<int>(random() % 8);  // amplitudes close together, and far apart
        for (size_t k = 0; k < 129; ++k) {
          gains.current[k] = AnyLevel(random, bits) >> quiet;
          gains.mean[k] = quiet < 4 ? AnyLevel(random, bits) : gains.current[k] + 1;
        }
        DesignGain(gains.Spectra(), vad);
        if (level == Level::kPlain) plain.push_back(gains);
        ASSERT_TRUE(gains == plain[static_cast<size_t>(frame) - 1])
            << NameOf(level) << ", seed " << seed << ", frame " << frame;
      }
    });
    if (HasFatalFailure()) return;
  }
}

// One value of a block or group of moderate ones at each bound of the fast forms, one below and one above.
TEST(NoiseKernels, GiveThePlainValuesAtTheBoundsOfTheirFastForms) {
  struct Case {
    int64_t noise, signal, cleaned, current;
  };
  std::vector<Case> cases = {{0, 5, 5, 5}, {-1, 5, 5, 5}, {1, 0, 0, 0}};
  for (int64_t d = -1; d <= 1; ++d) {
    const int64_t large = (int64_t{1} << 31) + d;
    for (const int bits : {10, 13}) {
      const int64_t loud = (int64_t{1000} << bits) + d;
      cases.push_back({1000, loud, 1, 1});
      cases.push_back({1000, 1, loud, 1});
      cases.push_back({(int64_t{1} << 31) >> bits, large, 1, 1});
    }
    cases.push_back({large, 1, 1, 1});
    cases.push_back({1 << 30, large, 1, 1});
    cases.push_back({1 << 30, 1, large, 1});
    cases.push_back({1 << 30, 1, 1, large});
  }
  for (size_t at = 0; at < 3 * cases.size(); ++at) {
    const Case& c = cases[at / 3];
    std::vector<Gains> plain;
    test::AtEachLevel([&](Level level) {
      const std::vector<int64_t> moderate(35, 3000);
      Gains gains{moderate, moderate, moderate, moderate, std::vector<int32_t>(35)};
      const size_t k = at % 3 * 16 + at % 2;  // in the blocks of the fast forms and in what is left
      gains.noise[k] = c.noise, gains.mean[k] = c.signal, gains.cleaned[k] = c.cleaned;
      gains.current[k] = c.current;
      Gains ratios = gains;
      wiener_vad vad{};
      vad.vad_flag = 1;
      DesignGain(gains.Spectra(), vad);
      LikelihoodRatios(ratios.noise, ratios.mean, ratios.cleaned.data(), ratios.current.data());
      if (level == Level::kPlain) plain = {gains, ratios};
      EXPECT_TRUE(gains == plain[0] && ratios == plain[1]) << NameOf(level) << ", case " << at;
    });
  }
}

TEST(LikelihoodRatios, AreThoseOfThePlainFormOnAllLevels) {
  using Bands = std::array<int64_t, 35>;
  for (uint32_t seed = 0; seed < 20000; ++seed) {
    std::mt19937_64 random(seed);
    Bands noise, signal, clean;
    const int bits = std::array{20, 31, 47, 62}[seed % 4];
    for (size_t b = 0; b < noise.size(); ++b) {
      noise[b] = AnyLevel(random, bits);
      signal[b] = seed % 3 == 0 ? AnyLevel(random, bits) + 1 : 1 + noise[b] + noise[b] / 8 * (seed % 5);
      clean[b] = AnyLevel(random, bits);
    }
    std::array<Bands, 3> plain;
    test::AtEachLevel([&](Level level) {
      std::array<Bands, 3> bands = {noise, clean, Bands{}};
      LikelihoodRatios(bands[0], signal, bands[1].data(), bands[2].data());
      if (level == Level::kPlain) plain = bands;
      ASSERT_TRUE(bands == plain) << NameOf(level) << ", seed " << seed;
    });
    if (HasFatalFailure()) return;
  }
}

}  // namespace
}  // namespace vask
