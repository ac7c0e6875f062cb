// Linear interpolation in a table of 1024 intervals.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dsp/arith.h"

namespace vask {

// The value of `table` at position x / 2^bits in 0 .. 1 (0 <= x < 2^bits), linear between its points. The
// product of step and remainder is truncated to 64 bits: from bits = 52 on it may wrap.
template <typename T>
constexpr int64_t LookUp(const std::array<T, 1025>& table, int64_t x, int32_t bits) {
  if (bits <= 10) return table[static_cast<size_t>(x << (10 - bits))];
  const int32_t rest_bits = bits - 10;
  const auto index = static_cast<size_t>(x >> rest_bits);
  const int64_t rest = x & ((int64_t{1} << rest_bits) - 1);
  const int64_t step = int64_t{table[index + 1]} - table[index];
  return table[index] + (WrapMul(step, rest) >> rest_bits);
}

}  // namespace vask
