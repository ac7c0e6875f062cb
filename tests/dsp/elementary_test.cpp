// Logarithms, exponentials and roots: worked values, and the mathematics library over their ranges.
#include <gtest/gtest.h>
#include <vask/dsp.h>

#include "dsp/exponential.h"
#include "dsp/logarithm.h"
#include "dsp/portable_math.h"
#include "support/inputs.h"

namespace vask {
namespace {

constexpr double kLn2 = test::kOneQ30 / 1549081957;  // the library's log2(e) is 3e-8 too small
constexpr double kQ15 = 1 << 15, kQ16 = 1 << 16, kQ26 = 1 << 26;
constexpr int32_t kBelow30 = (1 << 30) - 1, kMinus20 = -1342177280;

// The chord of log2(x / 2^30) between multiples of 2^20, which is far below the curve near 1/1024.
double Chord(double x) {
  const double left = std::floor(x / 1048576), share = x / 1048576 - left;
  return (1 - share) * std::log2(left / 1024) + share * std::log2((left + 1) / 1024);
}

double Taylor(double x) { return 1 + x * (1 + x / 2 * (1 + x / 3 * (1 + x / 4 * (1 + x / 5)))); }

// Worked values, and from from to to an error of least to most: result less exact value, in its units.
void Check(int32_t (*function)(int32_t), const test::Cases<2>& worked, int32_t from, int32_t to, double least,
           double most, double (*exact)(double)) {
  for (const auto& [x, expected] : worked) EXPECT_EQ(function(x), expected) << x;
  test::Values arguments = test::Operands<int32_t>(20000);
  for (int32_t x = 1; x <= 5000; ++x) arguments.push_back(x);
  for (int32_t x : arguments) {
    if (x < from || x > to) x = from + (x & INT32_MAX) % (to - from);
    const double error = function(x) - exact(x);
    ASSERT_TRUE(error >= least && error <= most) << x << ": error " << error;
  }
}

TEST(Elementary, LogarithmsStayWithinTheirErrors) {
  // Chords of the table lie up to 0.012 below the curve; then up to one unit is cut off, and 0.69 or 0.3 of
  // one.
  Check(LOG2, {{1024, 655360}, {3, 103872}, {1000, 653117}, {0, -1}}, 1, INT32_MAX, -1.013, 0.001,
        [](double x) { return std::log2(x) * kQ16; });
  Check(natural_log, {{2, 45426}, {1024, 454260}, {0, 0}}, 1, INT32_MAX, -1.71, 0.001,
        [](double x) { return std::log2(x) * kLn2 * kQ16; });
  Check(log_10, {{1000, 196607}}, 1, INT32_MAX, -1.31, 0.001, [](double x) { return std::log10(x) * kQ16; });
  Check(LOG2_Q30,
        {{1 << 29, -1 << 26}, {3 << 28, -27852695}, {-1, -1}, {1 << 30, 0}, {(1 << 20) - 1, kMinus20}},
        1 << 20, kBelow30, -1.01, 1.01, [](double x) { return Chord(x) * kQ26; });
  Check(natural_log_Q30, {{1 << 29, -46516321}, {-1, 0}}, 1 << 20, kBelow30, -0.75, 1.75,
        [](double x) { return Chord(x) * kLn2 * kQ26; });
  // 32 chords: up to 5.8 below; a table for 32767 instead of 32768; rounded entries, one cut.
  Check(Log2, {{1024, 327680}, {3, 51935}, {INT32_MAX, 1015806}, {0, 0}}, 1, INT32_MAX, -8, 0.5,
        [](double x) { return std::log2(x) * kQ15; });
  Check(natural_log_mfcc, {{2048, 22713}, {1, -227130}, {0, -227130}}, 1, INT32_MAX, -6.3, 1.4,
        [](double x) { return std::log2(x / 1024) * kLn2 * kQ15; });
}

TEST(Elementary, RootsStayWithinTheirErrorsAndWrapFromTwoToThe52On) {
  Check(sqrt_function, {{0, 0}, {-1, -1}, {2, 92681}, {kBelow30, INT32_MAX - 1}, {1 << 30, INT32_MAX}}, 1,
        kBelow30, -1026, 1, [](double x) { return std::sqrt(x) * kQ16; });  // 4.8e-7
  for (int64_t x : test::Operands<int64_t>(20000)) {
    x = (x & INT64_MAX) % (int64_t{1} << 52);
    const double root = std::sqrt(static_cast<double>(x));
    ASSERT_NEAR(static_cast<double>(sqrt_fQ8(x)) / 256, root * (1 - 2.4e-7) - 0.002, root * 2.42e-7 + 0.002)
        << x;
    ASSERT_EQ(sqrt_f(x), sqrt_fQ8(x) >> 8) << x;
  }
  EXPECT_EQ(sqrt_f(-1), sqrt_f(INT64_MAX));
  // 2^54 / 4 lies on a table point; just before the next one the step, a little below 2^20, times 2^44 - 1 is
  // a little below 2^64: minus one step's lack in 64 bits.
  const auto step =
      static_cast<int64_t>(std::floor(std::sqrt(257 / 1024.0) * test::kOneQ30 + 0.5)) - (1 << 29);
  EXPECT_EQ(sqrt_f((int64_t{1} << 52) + (int64_t{1} << 44) - 1), ((1 << 29) + step - (1 << 20) - 1) >> 3);
}

TEST(Elementary, ExponentialsStayWithinTheirErrors) {
  Check(Exponential_T, {}, 0, 45426, -4, 0, [](double x) { return Taylor(x / kQ16) * kQ16; });  // eight cuts
  // 33 and 65 doublings leave no bit; below 0 the mantissa is shifted right.
  EXPECT_EQ(test::Values({Exp(0), Exp(1 << 16), Exp(2 << 16), Exp(23 << 16), Exp(-30 * 65536),
                          Exp_Q6(1 << 16), Exp_Q6(45 << 16), Exp_Q6(-30 * 65536)}),
            test::Values({65536, 178140, 484216, 0, 0, 173, 0, 0}));
  for (int32_t x = -8 * 65536; x < 10 * 65536; x += 997) {
    // The series leaves out 1.6e-4 at most, the exponent is cut to 2^-16; then one cut of the result.
    const double exact = std::exp(x / kQ16), higher = std::exp(7) * exact;
    ASSERT_NEAR(Exp(x), exact * kQ16 * (1 - 1.1e-4) - 0.5, exact * kQ16 * 1.1e-4 + 0.5) << x;
    ASSERT_NEAR(Exp_Q6(x + (7 << 16)), higher * 64 * (1 - 1.1e-4) - 0.5, higher * 64 * 1.1e-4 + 0.5) << x;
  }
  for (int32_t x : test::Operands<int32_t>(5000)) {
    for (double y : {1 / 257.0, 1 / 32.0, 0.75}) {
      const double exact = std::pow(std::max(x, 1), y) * 64;
      ASSERT_NEAR(Pow(x, static_cast<int32_t>(y * test::kOneQ30)), exact, exact * 2.6e-4 + 1)
          << x << " ^ " << y;
    }
  }
  EXPECT_EQ(Pow(1024, 1 << 25), 79);  // 2^(10/32) in Q6 is 79.5
  EXPECT_EQ(Pow(40000000, 1 << 30), INT32_MAX);
}

// FNV-1a, computed from the single-precision values nearest to the exponential by another program.
TEST(Elementary, TheLikelihoodsExponentialIsExactOverItsDomain) {
  uint64_t hash = 1469598103934665603u;
  for (int64_t q = 0; q <= 655360; ++q)
    hash = (hash ^ static_cast<uint64_t>(ExpOfLikelihoodQ16(q))) * 1099511628211u;
  EXPECT_EQ(hash, 0xc25e1d948d02966du);
  EXPECT_EQ(ExpOfLikelihoodQ16(-65536) + ExpOfLikelihoodQ16(INT64_MIN), 24109);  // 65536 / e = 24109.3, and 0
}

TEST(Elementary, TheEnergysLogarithmIsTheNearestFloat) {
  std::mt19937 random(6);
  for (int32_t i = 1 << 23; i < (1 << 24) + 500000; ++i) {  // an octave, then any length
    const int32_t energy = i < 1 << 24 ? i : static_cast<int32_t>(random() >> 1 >> (random() % 31));
    const double rounded = static_cast<double>(static_cast<float>(energy));
    ASSERT_EQ(NaturalLogOfEnergy(energy), static_cast<float>(std::log(rounded))) << energy;
  }
}

TEST(Elementary, PortableFunctionsAreWithinTwoUnitsOfTheLastPlace) {
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
