// Saturating 16/32-bit operators with the semantics of the ITU-T G.191 basic operators. A 16-bit value is
// carried in an int32_t.
#pragma once

#include <bit>
#include <cstdint>

#include "dsp/arith.h"

namespace vask {

// Left shifts that bring the magnitude of x to 0x40000000 or more; 0 for 0, 31 for -1.
constexpr int32_t Norm(int32_t x) {
  if (x == 0) return 0;
  const uint32_t magnitude = static_cast<uint32_t>(x < 0 ? ~x : x);
  return std::countl_zero(magnitude) - 1;
}

constexpr int32_t ShiftRight(int32_t x, int32_t bits);

// x doubled `bits` times, saturating; negative counts shift right, by at most 32.
constexpr int32_t ShiftLeft(int32_t x, int32_t bits) {
  if (bits <= 0) return ShiftRight(x, bits < -32 ? 32 : -bits);
  // No value but 0 survives more than 31 doublings without saturating, so the loop is short.
  for (; bits > 0 && x != 0; --bits) {
    if (x > 0x3fffffff) return kMax32;
    if (x < -0x40000000) return kMin32;
    x *= 2;
  }
  return x;
}

// x shifted right arithmetically; negative counts shift left, by at most 32.
constexpr int32_t ShiftRight(int32_t x, int32_t bits) {
  if (bits < 0) return ShiftLeft(x, bits < -32 ? 32 : -bits);
  if (bits >= 31) return x < 0 ? -1 : 0;
  return x >> bits;
}

constexpr int32_t HighHalf(int32_t x) { return x >> 16; }
constexpr int32_t LowHalf(int32_t x) { return Low16(x); }

// acc - 2ab, saturated twice as the standard does: twice the square of -32768 is 2^31 - 1.
constexpr int32_t MultiplySubtract(int32_t acc, int32_t a, int32_t b) {
  const int64_t product = LimitTo32(int64_t{LowHalf(a)} * LowHalf(b) * 2);
  const int64_t sum = acc - product;
  return sum < kMin32 ? kMin32 : LimitTo32(sum);
}

// x = high * 65536 + 2 * low, except for the lowest bit.
struct Halves {
  int32_t high, low;
};

constexpr Halves SplitHalves(int32_t x) {
  const int32_t high = HighHalf(x);
  return {high, LowHalf(MultiplySubtract(x >> 1, high, 16384))};  // (x - high * 65536) / 2
}

constexpr int32_t Magnitude(int32_t x) { return x == kMin32 ? kMax32 : (x < 0 ? -x : x); }

// 1/sqrt(x): x integer, result in the standard's scaling; 0x3fffffff for x <= 0.
int32_t InverseRoot(int32_t x);

}  // namespace vask
