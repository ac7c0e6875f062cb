// The bounds of the transform in 32 bits, and the factors of all transforms.
#include "dsp/fft.h"

#include <gtest/gtest.h>
#include <vask/dsp.h>

#include "dsp/arith.h"
#include "dsp/fft_512.h"
#include "support/inputs.h"

namespace vask {
namespace {

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
