// Wrapping, saturating and shifting arithmetic, compared with wider integers.
#include "dsp/arith.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/inputs.h"

namespace vask {
namespace {

__extension__ typedef __int128 Int128;

int64_t Low64(Int128 x) { return static_cast<int64_t>(x); }

template <int Bits>
void CheckProducts(int64_t a, int64_t b) {
  const auto a32 = static_cast<int32_t>(a), b32 = static_cast<int32_t>(b);
  ASSERT_EQ(MulShift<Bits>(a, b32), Low64((Int128{a} * b32) >> Bits)) << a << " * " << b32;
  ASSERT_EQ(MulShiftByHalves<Bits>(a, b32), Low64((Int128{a} * b32) >> Bits)) << a << " * " << b32;
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
    ASSERT_EQ(MaxIfNegative(a), a < 0 ? kMax64 : a);
    ASSERT_EQ(AtLeastOne(a), a < 1 ? 1 : a) << a;
    ASSERT_EQ(LimitTo32(a & kMax64), std::min<int64_t>(a & kMax64, INT32_MAX)) << a;
  }
  int16_t run = 32766;
  for (int i = 0; i < 3; ++i) CountUp(run);
  EXPECT_EQ(run, 32767);
}

}  // namespace
}  // namespace vask
