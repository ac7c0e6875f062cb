// The detector's exponential from its table: the bits of the series over the whole domain.
#include "dsp/exponential.h"

#include <gtest/gtest.h>

namespace vask {
namespace {

TEST(ExpOfLikelihood, IsTheSeriesForEveryExponent) {
  uint64_t digest = 1469598103934665603;  // FNV-1a, one step a value
  for (int64_t q = -13 * 65536; q <= 10 * 65536; ++q) {
    const int64_t e = ExpOfLikelihoodQ16(q);
    ASSERT_EQ(e, ExpOfLikelihoodPlainQ16(q)) << q;
    if (q >= 0) digest = (digest ^ static_cast<uint64_t>(e)) * 1099511628211;
  }
  // Of the values nearest in single precision to the exact exponentials, cut to Q16.
  EXPECT_EQ(digest, 0xc25e1d948d02966du);
}

}  // namespace
}  // namespace vask
