// The detector's exponential, from its table and from its series: the nearest values over the whole domain.
#include "dsp/exponential.h"

#include <gtest/gtest.h>

#include "support/levels.h"

namespace vask {
namespace {

TEST(ExpOfLikelihood, IsTheSeriesForEveryExponent) {
  test::AtEachLevel([](Level level) {
    uint64_t digest = 1469598103934665603;  // FNV-1a, one step per value
    for (int64_t q = 0; q <= 10 * 65536; ++q)
      digest = (digest ^ static_cast<uint64_t>(ExpOfLikelihoodQ16(q))) * 1099511628211;
    // Of the single-precision values nearest to the exact exponentials, truncated to Q16.
    EXPECT_EQ(digest, 0xc25e1d948d02966du) << NameOf(level);
  });
}

}  // namespace
}  // namespace vask
