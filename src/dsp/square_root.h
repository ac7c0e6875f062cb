// Integer square roots: table of 1024 intervals, linear between its points.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

int32_t RootQ16(int32_t x);  // integer -> Q16; -1 below 0, 2147483647 from 2^30 on
int64_t Root(int64_t x);     // integer -> integer; a negative x is an overflowed sum: 2^63 - 1
int64_t RootQ8(int64_t x);   // integer -> Q8; likewise

// out[i] = Root(x[i]); in place too.
void Roots(std::span<const int64_t> x, int64_t* out);

}  // namespace vask
