// The functions that replace those of the maths library, compared with it.
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "dsp/logarithm.h"
#include "dsp/portable_math.h"

namespace vask {
namespace {

TEST(Elementary, TheLogarithmOfAnEnergyIsTheNearestFloat) {
  std::mt19937 random(6);
  for (int32_t i = 1 << 23; i < (1 << 24) + 500000; ++i) {  // an octave, then random lengths
    const int32_t energy = i < 1 << 24 ? i : static_cast<int32_t>(random() >> 1 >> (random() % 31));
    const double rounded = static_cast<double>(static_cast<float>(energy));
    ASSERT_EQ(NaturalLogOfEnergy(energy), static_cast<float>(std::log(rounded))) << energy << ", seed 6";
  }
}

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
