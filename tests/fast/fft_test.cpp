// Every form of the transform gives the bits of the plain one.
#include "dsp/fft.h"

#include <gtest/gtest.h>
#include <vask/dsp.h>

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/fft_512.h"
#include "dsp/fft_bounded.h"
#include "support/inputs.h"

namespace vask {
namespace {

TEST(Fft, Of512PointsIsTheSameInEveryForm) {
  const fft_tables& twiddles = test::Twiddles();
  int narrow = 0, bounded = 0, full = 0;
  for (const test::Input& input : test::Inputs(512, 2000)) {
    for (int32_t scale : {1, 1 << 10, 1 << 20}) {
      Samples512 samples;
      std::transform(input.samples.begin(), input.samples.end(), samples.begin(), [&](int16_t s) {
        return static_cast<int32_t>(int64_t{s} * scale >> (scale > 1024 ? 5 : 0));
      });
      std::vector<int64_t> plain(samples.begin(), samples.end()), picked = plain, wide = plain;
      RealFftFull(plain, 9, twiddles);
      RealFft(picked, 9, twiddles);
      ASSERT_EQ(picked, plain) << input.name << " times " << scale;
      if (IsBounded(wide)) {
        ++bounded;
        RealFftBounded(wide, 9, twiddles);
        ASSERT_EQ(wide, plain) << input.name << " times " << scale;
      }
      if (!IsNarrow(samples)) {
        ++full;
        continue;
      }
      ++narrow;
      for (auto* transform : {RealFft512, RealFft512Portable}) {
        Packed512 x;
        transform(samples, twiddles, x);
        for (size_t i = 0; i < 512; ++i)
          ASSERT_EQ(x[i], plain[i]) << input.name << " times " << scale << " at " << i;
      }
    }
  }
  EXPECT_TRUE(narrow > 1000 && bounded > narrow && full > 100) << narrow << ' ' << bounded << ' ' << full;
}

TEST(Fft, IsNarrowUpToTheBoundOfItsSums) {
  // A constant adds up to 512 times itself in bin 0: 2^31 - 2^19 is the first sum that is refused.
  Samples512 samples;
  samples.fill((1 << 22) - (1 << 10) - 1);
  EXPECT_TRUE(IsNarrow(samples));
  Packed512 x;
  RealFft512(samples, test::Twiddles(), x);
  EXPECT_EQ(x[0], 512 * samples[0]);
  samples.fill((1 << 22) - (1 << 10));
  EXPECT_FALSE(IsNarrow(samples));
  samples.fill(kMin32);
  EXPECT_FALSE(IsNarrow(samples));
}

TEST(Fft, ReleasesItsFactorsTwice) {
  fft_tables t = {};
  ASSERT_TRUE(BuildTwiddles(t, 9));
  for (int round = 0; round < 2; ++round) ReleaseTwiddles(t, 9);
  EXPECT_TRUE(!t.cc1 && !t.ss1 && !t.cc3 && !t.ss3);
}

}  // namespace
}  // namespace vask
