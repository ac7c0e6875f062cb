// The voicing features in their fast forms: the figures of the plain loops.
#include <gtest/gtest.h>
#include <vask/voicing.h>

#include <cfenv>

#include "dsp/divide.h"
#include "epd/voicing_crossings.h"
#include "epd/voicing_lags.h"
#include "epd/voicing_temporal.h"
#include "support/inputs.h"

namespace vask {
namespace {

TEST(VoicingLags, AreThoseOfThePlainLoops) {
  for (size_t n : {320u, 319u, 200u, 33u, 1u}) {
    for (const test::Input& input : test::Inputs(n, n == 320 ? 600 : 60)) {
      std::vector<int32_t> x;
      for (const int16_t s : input.samples) x.push_back(s * 65536);
      const auto size = static_cast<int32_t>(n);
      const int32_t yin = VoicingProEst_YIN(x.data(), kMinLag, kMaxLag, size);
      const int32_t amdf = AMDF_MinimumEst(x.data(), size, kMinLag, kMaxLag);
      const int32_t ratio = PeakValleyRatioEst(x.data(), kMinLag, kMaxLag, size);
      for (auto* measure : {MeasureLags, MeasureLagsPortable}) {
        std::feclearexcept(FE_DIVBYZERO);
        const LagFeatures fast = measure(input.samples);
        ASSERT_EQ(std::fetestexcept(FE_DIVBYZERO), 0) << input.name;  // a host may trap it
        ASSERT_EQ(fast.yin_voicing, yin) << input.name << ", " << n << " samples";
        ASSERT_EQ(fast.amdf_min, amdf) << input.name << ", " << n << " samples";
        ASSERT_EQ(fast.peak_valley_ratio, ratio) << input.name << ", " << n << " samples";
      }
    }
  }
}

TEST(VoicingCrossings, AreThoseOfThePlainLoops) {
  for (size_t n : {320u, 319u, 3u, 1u}) {
    std::vector<int16_t> clipped(n), signs(n), plain_signs(n);
    for (const test::Input& input : test::Inputs(n, 100)) {
      for (int32_t level : {ClippingLevel(input.samples), 0, 1, 1000, -5}) {
        ASSERT_EQ(CountClipCrossings(input.samples, level), CenterClip(input.samples, clipped.data(), level))
            << input.name << " at level " << level;
      }
      ASSERT_EQ(CountZeroCrossings(input.samples, signs.data()),
                ZeroCrossings(input.samples, plain_signs.data()))
          << input.name;
      ASSERT_EQ(signs, plain_signs) << input.name;
    }
  }
}

TEST(Divide, GivesTheIntegerQuotientUpToItsBounds) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 2000000; ++i) {
    const auto q = static_cast<int64_t>(random() >> (33 + random() % 31)) + 1;
    const auto k = static_cast<int64_t>(random() >> (11 + random() % 53)) / q;
    // Whole multiples and their neighbours are where rounding could cross a whole number.
    for (int64_t p : {k * q - 1, k * q, k * q + 1, -k * q + 1})
      ASSERT_EQ(DivideBelow2To53(p, q), p / q) << p << '/' << q;
    // Any part; and with q odd, -1 halved 30 times modulo q, whose quotient lies 1 / q below a whole number.
    int64_t below = q - 1;
    for (int twice = 0; twice < 30; ++twice) below = (below % 2 == 0 ? below : below + q) / 2;
    for (const int64_t part : {static_cast<int64_t>(random() % static_cast<uint64_t>(q + 1)), below % q})
      ASSERT_EQ(DivideQ30(part, q), part * (int64_t{1} << 30) / q) << part << '/' << q;
  }
}

}  // namespace
}  // namespace vask
