// Division by the floating-point unit.
#include "dsp/divide.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace vask {
namespace {

TEST(Divide, GivesTheIntegerQuotientUpToItsBounds) {
  std::mt19937_64 random(3);
  for (int i = 0; i < 2000000; ++i) {
    const auto wide = std::max(static_cast<int64_t>(random() >> (11 + random() % 53)), int64_t{1});
    const auto k = static_cast<int64_t>(random() >> (11 + random() % 53)) / wide;
    // Multiples and their neighbours are where rounding could cross an integer.
    for (int64_t p : {k * wide - 1, k * wide, k * wide + 1, -k * wide + 1})
      ASSERT_EQ(DivideBelow2To53(p, wide), p / wide) << p << '/' << wide;
    // Any part; and with q odd, -1 halved 30 times modulo q, whose quotient is 1 / q below an integer.
    const auto q = static_cast<int64_t>(random() >> (33 + random() % 31)) + 1;
    int64_t below = q - 1;
    for (int twice = 0; twice < 30; ++twice) below = (below % 2 == 0 ? below : below + q) / 2;
    for (const int64_t part : {static_cast<int64_t>(random() % static_cast<uint64_t>(q + 1)), below % q})
      ASSERT_EQ(DivideQ30(part, q), part * (int64_t{1} << 30) / q) << part << '/' << q;
  }
}

}  // namespace
}  // namespace vask
