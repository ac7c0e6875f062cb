// Integer division in the floating-point unit.
//
// For integers p, q with |p| < 2^53 and 0 < q < 2^53, truncating the double quotient toward zero gives p / q:
// both are exact as doubles, rounding moves their quotient by at most 2^-53 of it, |p| / (q * 2^53) < 1 / q,
// and a quotient that is not an integer is at least 1 / q away from the next one. Assumes round-to-nearest. A
// double division takes a third of the time of a 64-bit one, and four fit in a vector.
#pragma once

#include <cmath>
#include <cstdint>

namespace vask {

// floor(x) for |x| < 2^51. Not every machine rounds a double down in one instruction; the others add and
// subtract 1.5 * 2^52, which rounds to the nearest integer, at most one too high.
inline __attribute__((always_inline)) double FloorBelow2To51(double x) {
#if defined(__x86_64__) || defined(__aarch64__) || defined(__wasm__)
  return std::floor(x);
#else
  const double nearest = (x + 0x1.8p52) - 0x1.8p52;
  return nearest > x ? nearest - 1 : nearest;
#endif
}

constexpr int64_t DivideBelow2To53(int64_t p, int64_t q) {
  return static_cast<int64_t>(static_cast<double>(p) / static_cast<double>(q));
}

// p * 2^30 / q for 0 <= p <= q < 2^31, q > 0: the double quotient may be rounded up to the next integer,
// never down below one; the remainder shows it.
inline int64_t DivideQ30(int64_t p, int64_t q) {
  const auto quotient = static_cast<int64_t>(static_cast<double>(p) * 0x1p30 / static_cast<double>(q));
  return quotient - (p * (int64_t{1} << 30) < quotient * q ? 1 : 0);
}

}  // namespace vask
