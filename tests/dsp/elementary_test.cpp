// The functions that replace those of the maths library, compared with it.
#include <gtest/gtest.h>
#include <vask/dsp.h>

#include <cmath>
#include <random>

#include "dsp/portable_math.h"

namespace vask {
namespace {

TEST(Elementary, PortableFunctionsAreWithinTwoUnitsInTheLastPlace) {
  const auto check = [](double (*function)(double), long double (*exact)(long double), double low,
                        double high) {
    std::mt19937_64 random(7);
    for (int i = 0; i < 50000; ++i) {
      const double x = low + (high - low) * static_cast<double>(random() >> 11) * 0x1p-53;
      const double nearest = std::abs(static_cast<double>(exact(x)));
      const double unit = std::nextafter(nearest, INFINITY) - nearest;
      ASSERT_LE(std::abs(function(x) - exact(x)), 2 * unit) << x << ", seed 7";
    }
  };
  check(PortableExp, std::exp, -700, 700), check(PortableExp, std::exp, -1, 1);
  check(PortableLog, std::log, 1e-300, 1e6), check(PortableLog, std::log, 0.5, 2);
  check(PortableCos, std::cos, -1000, 1000), check(PortableCos, std::cos, -4, 4);
}

TEST(Elementary, ExponentialsShiftOutWhatTheirFormatDoesNotHold) {
  struct Case {
    int32_t x, q16, q6;
  };
  // e^-1 is 24109.3 in Q16 and 23.5 in Q6; e^50 has 72 doublings, e^-25 has -37.
  for (const Case& c : {Case{0, 65536, 64}, {-1, 24109, 23}, {-20, 0, 0}, {-25, 0, 0}, {50, 0, 0}}) {
    EXPECT_NEAR(Exp(c.x * 65536), c.q16, 3) << c.x;
    EXPECT_EQ(Exp_Q6(c.x * 65536), c.q6) << c.x;
  }
}

}  // namespace
}  // namespace vask
