// Square roots: x = m * 2^e with e even and m in 1/4 .. 1; the root of m comes from a Q30 table.
#include "dsp/square_root.h"

#include <vask/dsp.h>

#include <bit>

#include "dsp/arith.h"
#include "dsp/cpu.h"
#include "dsp/table_lookup.h"
#include "dsp/tables/square_root.h"

namespace vask {
namespace {

// The bit length of x > 0, raised to even.
constexpr int32_t EvenLength(uint64_t x) { return (static_cast<int32_t>(std::bit_width(x)) + 1) & ~1; }

// sqrt(x) in Q30, 64 bits kept.
int64_t RootQ30Plain(int64_t x) {
  if (x == 0) return 0;
  const int64_t value = MaxIfNegative(x);
  const int32_t length = EvenLength(static_cast<uint64_t>(value));
  // From 2^52 on the interpolation product inside wraps.
  return WrapShl(LookUp(kSquareRootQ30, value, length), length / 2);
}

// The same without a branch below 2^52: with m moved up to 52 bits the remainder of the interpolation has
// always 42 of them, and its product with a step of the table, 2^20 at most from 1/4 on, fits 64.
VASK_KERNEL int64_t RootQ30(int64_t x) {
  if (static_cast<uint64_t>(x) >= uint64_t{1} << 52) return RootQ30Plain(x);
  const int32_t length = EvenLength(static_cast<uint64_t>(x) | 1);
  const int64_t m = x << (52 - length);
  const int32_t* entry = &kSquareRootQ30[static_cast<size_t>(m >> 42)];
  const int64_t step = entry[1] - entry[0], rest = m & ((int64_t{1} << 42) - 1);
  return (entry[0] + ((step * rest) >> 42)) << (length / 2);
}

VASK_KERNEL void RootsBody(std::span<const int64_t> x, int64_t* out) {
  for (size_t i = 0; i < x.size(); ++i) out[i] = RootQ30(x[i]) >> 30;
}

}  // namespace

int32_t RootQ16(int32_t x) {
  if (x < 0) return -1;
  if (x >= (1 << 30)) return kMax32;  // the root would not fit
  return static_cast<int32_t>(RootQ30(x) >> 14);
}

int64_t Root(int64_t x) { return RootQ30(x) >> 30; }
int64_t RootQ8(int64_t x) { return RootQ30(x) >> 22; }

VASK_DISPATCH(void, Roots, (std::span<const int64_t> x, int64_t* out), (x, out))

}  // namespace vask

extern "C" {

int32_t sqrt_function(int32_t x) { return vask::RootQ16(x); }
int64_t sqrt_f(int64_t x) { return vask::Root(x); }
int64_t sqrt_fQ8(int64_t x) { return vask::RootQ8(x); }

}  // extern "C"
