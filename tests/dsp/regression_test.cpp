// Regression and high-pass filters against double precision and against sums done by hand.
#include <gtest/gtest.h>
#include <vask/dsp.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

using Values = std::vector<int32_t>;

Values Filtered(int32_t taps, const Values& x) {
  fir_filt f;
  EXPECT_EQ(iinit_filter(&f, taps), 1);
  Values y;
  for (const int32_t value : x) y.push_back(filter(value, &f));
  close_filt(&f);
  close_filt(&f);
  return y;
}

TEST(Regression, WeighsByTheDistanceFromTheMiddle) {
  for (int32_t taps = 1; taps < 40; ++taps) {
    fir_filt f;
    ASSERT_EQ(iinit_filter(&f, taps), 1);
    EXPECT_EQ(f.len, taps);
    EXPECT_EQ(f.delay, -(taps / 2));
    double squares = 0;
    for (int k = 1; k <= taps / 2; ++k) squares += k * k;
    for (int32_t j = 0; j < taps; ++j) {
      const double weight = squares == 0 ? 0 : (j - taps / 2) / std::sqrt(2 * squares);
      EXPECT_NEAR(f.coef[j], weight * 0x1p30, 130) << taps << " taps, " << j;  // two roundings to single
      EXPECT_EQ(f.hist[j], 0);
    }
    close_filt(&f);
  }
}

// Slope sqrt(10) * 65536 = 207243 less the cuts; the weights of a constant cancel but for theirs: 1000 times
// 0.632 and 0.316 cut downward, then -633 - 317 + 316 + 632 = -2.
TEST(Regression, GivesTheSlopeAndCutsEachProductDownward) {
  EXPECT_EQ(Filtered(5, {0, 65536, 131072, 196608, 262144, 327680, 393216, 458752}),
            (Values{0, 41448, 103621, 165793, 207241, 207242, 207241, 207241}));
  EXPECT_EQ(Filtered(5, {1000, 1000, 1000, 1000, 1000, 1000, 1000}),
            (Values{632, 948, 948, 631, -2, -2, -2}));
  // 4 (679093952 + 339546976) - 2 needs 33 bits: the sum wraps, less 2^32.
  EXPECT_EQ(Filtered(5, {INT32_MIN, INT32_MIN, 0, INT32_MAX, INT32_MAX}).back(), -220403586);
}

TEST(Regression, BuffersAsIfItHadFiltered) {
  std::mt19937 random(3);
  constexpr int32_t kCount = 4;
  const auto bank = [] { return static_cast<fir_filt*>(std::malloc(kCount * sizeof(fir_filt))); };
  fir_filt *heard = bank(), *filtered = bank();
  ASSERT_EQ(init_filter(heard, kCount, 5), 1);
  ASSERT_EQ(init_filter(filtered, kCount, 5), 1);
  for (int t = 0; t < 30; ++t) {
    int32_t x[kCount], y[kCount], z[kCount];
    for (int32_t& value : x) value = static_cast<int32_t>(random());
    filtering(x, y, filtered, kCount);
    if (t % 3 != 0) {
      buffering(x, heard, kCount);
      continue;
    }
    filtering(x, z, heard, kCount);
    for (int k = 0; k < kCount; ++k) EXPECT_EQ(y[k], z[k]) << "frame " << t << " filter " << k;
  }
  close_filter(heard, kCount);
  close_filter(filtered, kCount);
}

TEST(Regression, RefusesWhatItCannotDo) {
  fir_filt f = {};
  int32_t x = 5, y = 7;
  for (const int32_t taps : {0, -1, INT32_MIN}) EXPECT_EQ(iinit_filter(&f, taps), 0) << taps;
  EXPECT_EQ(iinit_filter(nullptr, 5), 0);
  EXPECT_EQ(init_filter(&f, 0, 5), 1);
  EXPECT_EQ(init_filter(nullptr, 1, 5), 0);
  EXPECT_EQ(init_filter(static_cast<fir_filt*>(std::malloc(sizeof f)), 1, 0), 0);  // and frees it
  EXPECT_EQ(filter(1, &f), 0);                                                     // closed
  EXPECT_EQ(filter(1, nullptr), 0);
  buffer(1, &f);
  buffering(nullptr, &f, 1);
  filtering(&x, &y, &f, 1);
  EXPECT_EQ(y, 7);
  close_filt(nullptr);
  close_filter(nullptr, 3);
}

TEST(HighPass, FollowsItsDifferenceEquation) {
  std::mt19937 random(9);
  fix32_hp_filt f;
  ASSERT_EQ(fix32_init_hp_filt(&f), 1);
  for (int round = 0; round < 3; ++round) {
    double previous_x = 0, previous_y = 0;
    for (int n = 0; n < 400; ++n) {
      const int32_t alternating = n % 2 == 0 ? 1000000 : -1000000;
      const int32_t x = round == 0 ? 1000000 : round == 1 ? alternating : static_cast<int32_t>(random() >> 4);
      const double expected = 0.9658498 * (x - previous_x) + 0.9316996 * previous_y;
      const int32_t y = fix32_hp_filtering(x, &f);
      // Each of the three products is cut, by less than 1, and the errors add up to 1 / (1 - 0.93).
      EXPECT_NEAR(y, expected, 100) << "round " << round << " n = " << n;
      previous_x = x;
      previous_y = expected;
    }
    // A constant is gone, and the gain is 1 at half the rate.
    if (round < 2) {
      EXPECT_NEAR(std::abs(f.y_hist[1]), round * 1000000, 45);
    }
    fix32_reinit_hp_filt(&f);
    EXPECT_EQ(f.x_hist[1] | f.y_hist[1], 0);
  }
  fix32_close_filt(&f);
  fix32_close_filt(&f);
  EXPECT_EQ(fix32_hp_filtering(1000, &f), 0);
  fix32_reinit_hp_filt(&f);
  EXPECT_EQ(fix32_init_hp_filt(nullptr), 0);
}

}  // namespace
