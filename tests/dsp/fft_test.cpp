// The integer FFT against the definition of the transform, and its roundings worked by hand.
#include "dsp/fft.h"

#include <gtest/gtest.h>

#include "dsp/power_spectrum.h"
#include "support/inputs.h"

namespace vask {
namespace {

using Points = std::vector<int64_t>;

Points Transform(Points x) {
  const fft_tables& t = test::Twiddles();
  const auto order = static_cast<int32_t>(std::log2(x.size()));
  rfft(x.data(), 1 << order, order, t.cc1, t.ss1, t.cc3, t.ss3);
  return x;
}

TEST(Fft, IsTheTransformByItsDefinitionAtAllSizes) {
  for (size_t n = 2; n <= 512; n *= 2) {
    for (const auto& [name, samples] : test::Signals(n)) {
      Points x(samples.begin(), samples.end());
      double total = 0;
      for (int64_t& value : x) total += static_cast<double>(std::abs(value *= 512));  // sums stay below 2^33
      const auto expected = test::Dft(x, n);
      const Points spectrum = Transform(x);
      // Products are rounded down, by half a unit each; twiddles are up to 150 units of 2^-30 off.
      const double bound = 2 + static_cast<double>(n) / 4 + total * 50e-9;
      for (size_t k = 0; k <= n / 2; ++k) {
        const int64_t imaginary = k == 0 || k == n / 2 ? 0 : spectrum[n - k];
        const std::complex<double> found(static_cast<double>(spectrum[k]), static_cast<double>(imaginary));
        ASSERT_LE(std::abs(found - expected[k]), bound) << name << ", " << n << " points, bin " << k;
      }
    }
  }
}

// Impulses v at t of n points, X(k) = v e^(-2 pi i k t / n), packed as Re 0 .. n/2, Im n/2-1 .. 1.
TEST(Fft, RoundsTwiddledProductsDownAndRootsTowardZeroAndWraps) {
  EXPECT_EQ(Transform({0, 1, 0, 0, 0, 0, 0, 0}),
            (Points{1, 0, 0, 0, -1, 0, -1, 0}));  // 1/sqrt(2) is cut to 0
  EXPECT_EQ(Transform({0, -1, 0, 0, 0, 0, 0, 0}), (Points{-1, 0, 0, 0, 1, 0, 1, 0}));
  // 16 points, bin 1: Re = v cos, floor(0.92) = 0 and floor(-0.92) = -1; Im = -floor(v sin), sin = 0.38. The
  // last point is the same at three times the angle.
  Points up(16), down(16), last(16);
  up[1] = 1, down[1] = last[15] = -1;
  EXPECT_EQ((Points{Transform(up)[1], Transform(up)[15], Transform(down)[1], Transform(down)[15],
                    Transform(last)[15]}),
            (Points{0, 0, -1, 1, -1}));
  // The root's argument is shifted by 30 and wraps from 2^33 on; sums wrap in 64 bits.
  const int64_t limit = int64_t{1} << 33;
  EXPECT_EQ(Transform({0, limit - 1, 0, 0, 0, 0, 0, 0})[1], (INT64_MAX - (1 << 30) + 1) / 1518500249);
  EXPECT_EQ(Transform({0, limit, 0, 0, 0, 0, 0, 0})[1], INT64_MIN / 1518500249);
  EXPECT_EQ(Transform({INT64_MAX, 1}), (Points{INT64_MIN, INT64_MAX - 1}));
}

TEST(Fft, LeavesTheArrayAloneOnBadInputAndReleasesTwice) {
  fft_tables t = {};
  ASSERT_TRUE(BuildTwiddles(t, 9, {cc1_data, ss1_data, cc3_data, ss3_data}));
  const auto check = [&](int32_t n, int32_t order, int32_t** ss3) {
    Points x(1024, 3);
    rfft(x.data(), n, order, t.cc1, t.ss1, t.cc3, ss3);
    EXPECT_EQ(x, Points(1024, 3)) << n << " points, order " << order;
  };
  int32_t* holes[8] = {};
  check(16, 3, t.ss3), check(1, 0, t.ss3), check(1024, 10, t.ss3), check(16, 4, nullptr), check(16, 4, holes);
  rfft(nullptr, 16, 4, t.cc1, t.ss1, t.cc3, t.ss3);
  for (int round = 0; round < 2; ++round) ReleaseTwiddles(t, 9);
  EXPECT_TRUE(!t.cc1 && !t.ss1 && !t.cc3 && !t.ss3);
}

TEST(PowerSpectrum, SquaresTheShiftedPackedValues) {
  Points x = {4, 8, 12, 16, 20, 12, 8, -1};  // Re 1 .. 5, Im 3 2 1, times 4; -1 >> 2 is -1
  PowerSpectrum(x, 2);
  EXPECT_EQ(Points(x.begin(), x.begin() + 5), (Points{1, 4 + 1, 9 + 4, 16 + 9, 25}));
  // 2^31.5 squared is 2^63, and two powers of 2^62 make it: both are too much for 64 bits.
  x = {3037000500, int64_t{1} << 31, 3037000500, int64_t{1} << 31};
  PowerSpectrum(x, 0);
  EXPECT_EQ(Points(x.begin(), x.begin() + 3), Points(3, INT64_MAX));
}

}  // namespace
}  // namespace vask
