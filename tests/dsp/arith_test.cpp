// Wrapping, saturating and shifting arithmetic and the basic operators, against wider integers.
#include "dsp/arith.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/inputs.h"

namespace vask {
namespace {

__extension__ typedef __int128 Int128;

int64_t Low64(Int128 x) { return static_cast<int64_t>(x); }
int32_t Saturate(Int128 x) { return static_cast<int32_t>(std::clamp<Int128>(x, INT32_MIN, INT32_MAX)); }

template <int Bits>
void CheckProducts(int64_t a, int64_t b) {
  const auto a32 = static_cast<int32_t>(a), b32 = static_cast<int32_t>(b);
  ASSERT_EQ(MulShift<Bits>(a, b32), Low64((Int128{a} * b32) >> Bits)) << a << " * " << b32;
  ASSERT_EQ(MulShift<Bits>(a32, b32), (int64_t{a32} * b32) >> Bits) << a32 << " * " << b32;
  ASSERT_EQ(MulShiftWide<Bits>(a, b), Low64((Int128{a} * b) >> Bits)) << a << " * " << b;
}

TEST(Arith, KeepsTheLowBitsOfTheExactResult) {
  const std::vector<int64_t> values = test::Operands<int64_t>(300);
  for (int64_t a : values) {
    for (int64_t b : values) {
      CheckProducts<1>(a, b), CheckProducts<16>(a, b), CheckProducts<30>(a, b), CheckProducts<32>(a, b);
      const Wrapping64 x = {a}, y = {b};
      ASSERT_EQ((x + y - -x).value, Low64(Int128{a} * 2 + b)) << a << ", " << b;
      ASSERT_EQ(WrapMul(a, b), Low64(Int128{a} * b)) << a << " * " << b;
    }
    ASSERT_EQ(WrapShl(a, 30), Low64(Int128{a} << 30)) << a;
    ASSERT_EQ((int64_t{High32(a)} << 32) + static_cast<uint32_t>(Low32(a)), a);
    ASSERT_TRUE(MaxIfNegative(a) == (a < 0 ? kMax64 : a) && AtLeastOne(a) == (a < 1 ? 1 : a)) << a;
    ASSERT_EQ(LimitTo32(a & kMax64), Saturate(a & kMax64)) << a;
  }
  int16_t run = 32766;
  for (int i = 0; i < 3; ++i) CountUp(run);
  EXPECT_EQ(run, 32767);
}

TEST(Operators, NormalizeShiftSplitAndSaturate) {
  for (int32_t x : test::Operands<int32_t>(2000)) {
    int32_t shifts = 0, hi = 0, lo = 0;
    for (int64_t y = x; x != 0 && y >= -0x40000000 && y < 0x40000000; y *= 2) ++shifts;
    ASSERT_EQ(norm_l(x), shifts) << x;  // -1 reaches -2^31 after 31
    for (int32_t s : {INT32_MIN, -33, -32, -31, -30, -1, 0, 1, 15, 30, 31, 32, 33, INT32_MAX}) {
      const Int128 scale = Int128{1} << std::clamp(std::abs(int64_t{s}), int64_t{0}, int64_t{40});
      const int32_t left = Saturate(x * scale),
                    right = static_cast<int32_t>(int64_t{x} >> (scale == 1                  ? 0
                                                                : std::abs(int64_t{s}) > 40 ? 40
                                                                                            : std::abs(s)));
      ASSERT_EQ(L_shl(x, s), s > 0 ? left : right) << x << " << " << s;
      ASSERT_EQ(L_shr(x, s), s > 0 ? right : left) << x << " >> " << s;
    }
    L_Extract(x, &hi, &lo), L_Extract(x, nullptr, &lo), L_Extract(x, &hi, nullptr);
    ASSERT_EQ(int64_t{hi} * 65536 + 2 * lo, x & ~1) << x;
    ASSERT_EQ(int64_t{extract_h(x)} * 65536 + static_cast<uint16_t>(extract_l(x)), x) << x;
    ASSERT_EQ(epd_abs_s(x), Saturate(std::abs(int64_t{x}))) << x;
    for (int32_t a : {-32768, -1, 0, 1, 32767})  // the product saturates first
      ASSERT_EQ(L_msu(x, a, -32768), Saturate(x - Int128{Saturate(int64_t{-65536} * a)})) << x << ' ' << a;
    // The chords of a table of 16 intervals to 1, accurate to 3.7e-4, of values rounded to 2^-15.
    const double root = test::kOneQ30 / std::sqrt(std::max(epd_abs_s(x), 1));
    ASSERT_NEAR(Inv_sqrt(std::max(epd_abs_s(x), 1)), root, root * 4.3e-4 + 1) << x;
  }
  EXPECT_EQ(test::Values({Inv_sqrt(0), Inv_sqrt(1), Inv_sqrt(4), Inv_sqrt(INT32_MAX)}),
            test::Values({kOneQ30 - 1, 1073709056, 536854528, 23170}));
}

}  // namespace
}  // namespace vask
