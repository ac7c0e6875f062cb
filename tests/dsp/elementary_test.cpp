// The functions that replace those of the maths library, compared with it.
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace vask
