// DC filter, pre-emphasis, majority vote and windows.
#include <gtest/gtest.h>
#include <vask/dsp.h>

#include "dsp/tables/windows.h"
#include "support/inputs.h"

namespace {

using vask::test::Values;

// y[n] = x[n] - x[n-1] + y[n-1] (1 - 1/1024), the last product rounded down, all of it in 32 bits.
TEST(DcFilter, IsANotchWhosePoleIsAThousandthInside) {
  const Values x = vask::test::Operands<int32_t>(1001);
  Values y = x;
  dc_filt f = {5, 5};
  init_dc_filt(&f);
  for (size_t i = 0; i < y.size(); i += 5)
    DCOffsetFil(&y[i], &f, static_cast<int32_t>(std::min<size_t>(5, y.size() - i)));
  int64_t in = 0, out = 0;
  for (size_t i = 0; i < x.size(); ++i) {
    const int64_t cut = out >= 0 ? (out + 1023) / 1024 : -(-out / 1024);  // out / 1024, rounded up
    out = static_cast<int32_t>(static_cast<uint32_t>(x[i] - in + out - cut));
    in = x[i];
    ASSERT_EQ(y[i], out) << "sample " << i << ", seed 4";
  }
  DCOffsetFil(y.data(), &f, 0), DCOffsetFil(nullptr, &f, 1), DCOffsetFil(y.data(), nullptr, 1),
      init_dc_filt(nullptr);
  EXPECT_EQ(f.prev_out, y.back());
}

TEST(PreEmphasis, TakesOffNinetySevenHundredthsOfTheSampleBefore) {
  pre_emph_filt f = {};
  InitPreEmphFilt(&f);
  const int16_t samples[] = {100, 100, 0, -100, 0, -32767, 32767, -32768};
  Values out(8);
  PreEmphasis(&f, samples, out.data(), 3), PreEmphasis(&f, samples + 3, &out[3], 5);
  EXPECT_EQ(out[1], 6553600 - 6356991);  // 0.97 in Q30 is a little less
  for (size_t i = 1; i < 8; ++i) {
    const auto wide =
        samples[i] * int64_t{65536} - static_cast<int64_t>(std::floor(samples[i - 1] * 1041529569.0 / 16384));
    EXPECT_EQ(out[i], static_cast<int32_t>(static_cast<uint32_t>(wide))) << i;  // the last two wrap
  }
  PreEmphasis(&f, samples, out.data(), 0), PreEmphasis(&f, nullptr, out.data(), 1);
  PreEmphasis(&f, samples, nullptr, 1), PreEmphasis(nullptr, samples, out.data(), 1),
      InitPreEmphFilt(nullptr);
  EXPECT_EQ(f.prev, INT32_MIN);
}

TEST(Majority, NeedsMoreThanHalf) {
  for (size_t n = 1; n <= 9; ++n) {
    for (size_t ones = 0; ones <= n; ++ones) {
      std::vector<int16_t> d(n - ones);
      d.resize(n, 1);
      EXPECT_EQ(median_filt(d.data(), static_cast<int32_t>(n), nullptr), ones > n / 2) << ones << " of " << n;
    }
  }
  const int16_t wrapping[] = {32767, 1, 0};  // 32768 is negative in 16 bits
  EXPECT_EQ(median_filt(wrapping, 3, nullptr) + median_filt(nullptr, 7, nullptr) +
                median_filt(wrapping, 0, nullptr),
            0);
  EXPECT_EQ(median_filt(wrapping, -1, nullptr), 1);  // 0 is more than -1 >> 1
}

TEST(Windows, AreTheirTablesOrOfAnyLength) {
  Values hanning(402, 7), hamming(322, 7), window(100);
  init_hanning_wind(hanning.data(), 401), init_hamm_window(hamming.data(), 321);  // zero beyond the table
  EXPECT_TRUE(std::equal(vask::kHanningQ30.begin(), vask::kHanningQ30.end(), hanning.begin()));
  EXPECT_TRUE(std::equal(vask::kHammingQ30.begin(), vask::kHammingQ30.end(), hamming.begin()));
  EXPECT_EQ((Values{hanning[400], hanning[401], hamming[320], hamming[321]}), (Values{0, 7, 0, 7}));
  for (int32_t n : {1, 7, 24, 100}) {
    init_filter_wind(window.data(), n), init_filter_wind(nullptr, n), init_filter_wind(window.data(), 0);
    for (int32_t i = 0; i < n; ++i) {  // single precision
      const double exact = 0.5 - 0.5 * std::cos((i + 0.5) * vask::test::kTwoPi / n);
      ASSERT_NEAR(window[static_cast<size_t>(i)], exact * (1 << 30), 170) << i << " of " << n;
    }
  }
}

}  // namespace
