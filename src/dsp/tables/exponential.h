// exp(i / 64), i = 0 .. 640, by addition, multiplication and division only: every compiler computes the same.
#pragma once

#include <array>
#include <cstddef>

namespace vask {

inline constexpr auto kExpOf64ths = [] {
  std::array<double, 641> table{};
  double whole = 1;  // e to the integer part of i / 64
  for (size_t i = 0; i < table.size(); ++i) {
    if (i > 0 && i % 64 == 0) whole *= 0x1.5bf0a8b145769p+1;  // e
    double series = 1;
    for (int n = 18; n >= 1; --n) series = 1 + series * (static_cast<double>(i % 64) / 64) / n;
    table[i] = whole * series;
  }
  return table;
}();

}  // namespace vask
