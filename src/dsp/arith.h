// Arithmetic whose wrapping, saturation or truncation is part of the result.
//
// Plain operators in this library mean "cannot overflow". What wraps in two's complement, keeps the low bits
// or saturates on purpose is written with one of these helpers, so that whatever the undefined-behaviour
// sanitizer reports is a mistake. Nothing here needs a 128-bit integer, which 32-bit targets lack.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace vask {

inline constexpr int32_t kMax32 = std::numeric_limits<int32_t>::max();
inline constexpr int32_t kMin32 = std::numeric_limits<int32_t>::min();
inline constexpr int64_t kMax64 = std::numeric_limits<int64_t>::max();

// The number `value` in a format with Bits fractional bits, truncated toward zero.
template <int Bits>
constexpr int32_t Q(double value) {
  return static_cast<int32_t>(value * static_cast<double>(int64_t{1} << Bits));
}

inline constexpr int32_t kOneQ16 = 1 << 16;
inline constexpr int32_t kOneQ30 = 1 << 30;

// The low bits of a wider value, read as signed.
constexpr int16_t Low16(int64_t x) { return static_cast<int16_t>(static_cast<uint16_t>(x)); }
constexpr int32_t Low32(int64_t x) { return static_cast<int32_t>(static_cast<uint32_t>(x)); }

// The upper half of a 64-bit value.
constexpr int32_t High32(int64_t x) { return static_cast<int32_t>(x >> 32); }

template <typename T>
constexpr T WrapAdd(T a, std::type_identity_t<T> b) {
  using U = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<U>(a) + static_cast<U>(b));
}

template <typename T>
constexpr T WrapSub(T a, std::type_identity_t<T> b) {
  using U = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<U>(a) - static_cast<U>(b));
}

template <typename T>
constexpr T WrapMul(T a, std::type_identity_t<T> b) {
  static_assert(sizeof(T) >= sizeof(int));  // narrower types would be promoted to a signed product
  using U = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<U>(a) * static_cast<U>(b));
}

template <typename T>
constexpr T WrapShl(T a, int32_t bits) {
  using U = std::make_unsigned_t<T>;
  return static_cast<T>(static_cast<U>(a) << bits);
}

template <typename T>
constexpr T WrapNeg(T a) {
  return WrapSub(T{0}, a);
}

// A 64-bit value whose sums and differences wrap, for formulas with many of them.
struct Wrapping64 {
  int64_t value;
  friend constexpr Wrapping64 operator+(Wrapping64 a, Wrapping64 b) { return {WrapAdd(a.value, b.value)}; }
  friend constexpr Wrapping64 operator-(Wrapping64 a, Wrapping64 b) { return {WrapSub(a.value, b.value)}; }
  constexpr Wrapping64 operator-() const { return {WrapNeg(value)}; }
};

// A 64-bit value limited to the largest 32-bit one.
constexpr int32_t LimitTo32(int64_t x) { return x > kMax32 ? kMax32 : static_cast<int32_t>(x); }

// A sum of non-negative terms that has wrapped below zero has overflowed: read it as the largest value.
template <typename T>
constexpr T MaxIfNegative(T x) {
  return x < 0 ? std::numeric_limits<T>::max() : x;
}

// A divisor or noise level: never below 1.
template <typename T>
constexpr T AtLeastOne(T x) {
  return x < 1 ? T{1} : x;
}

// A frame counter that stays at its largest value instead of wrapping after hours.
template <typename T>
constexpr void CountUp(T& counter) {
  if (counter < std::numeric_limits<T>::max()) counter = static_cast<T>(counter + 1);
}

// The full product of a 64-bit and a 32-bit value, shifted right arithmetically by Bits and truncated to 64
// bits, from two halves of a: high * b * 2^32 + low * b, and |low * b| stays below 2^63. For 32-bit targets.
template <int Bits>
constexpr int64_t MulShiftByHalves(int64_t a, int32_t b) {
  static_assert(Bits >= 0 && Bits <= 32);
  const int64_t high = (a >> 32) * b;
  const int64_t low = static_cast<int64_t>(static_cast<uint32_t>(a)) * b;
  return WrapAdd(WrapShl(high, 32 - Bits), low >> Bits);
}

// The same, in one multiplication where the machine has a wide one.
template <int Bits>
constexpr int64_t MulShift(int64_t a, int32_t b) {
#if defined(__SIZEOF_INT128__)
  __extension__ using Wide = __int128;
  return static_cast<int64_t>((Wide{a} * b) >> Bits);
#else
  return MulShiftByHalves<Bits>(a, b);
#endif
}

// The same for two 32-bit values, whose product fits in 64 bits.
template <int Bits>
constexpr int64_t MulShift(int32_t a, int32_t b) {
  return (int64_t{a} * b) >> Bits;
}

// The full product of two 64-bit values, shifted and truncated likewise. b is split: its upper half times a
// is a multiple of 2^32, its lower half is unsigned.
template <int Bits>
constexpr int64_t MulShiftWide(int64_t a, int64_t b) {
  static_assert(Bits > 0 && Bits <= 32);
  const uint64_t a_low = static_cast<uint32_t>(a), b_low = static_cast<uint32_t>(b);
  const int64_t upper = WrapAdd(WrapMul(a, b >> 32), (a >> 32) * static_cast<int64_t>(b_low));
  return WrapAdd(WrapShl(upper, 32 - Bits), static_cast<int64_t>((a_low * b_low) >> Bits));
}

}  // namespace vask
