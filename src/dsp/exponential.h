// Exponentials and powers in fixed point.
#pragma once

#include <cstdint>

namespace vask {

int32_t ExpTaylorQ16(int32_t x);          // Q16, meant for 0 <= x < ln 2 -> Q16
int32_t ExpQ16(int32_t x);                // Q16 -> Q16
int32_t ExpQ6(int32_t x);                 // Q16 -> Q6
int32_t PowQ6(int32_t x, int32_t y_q30);  // integer ^ Q30 -> Q6

// The likelihood ratio's exponential: q in Q16, up to 10.0, -> exp(q) in Q16, the nearest single-precision
// value truncated toward zero.
int64_t ExpOfLikelihoodQ16(int64_t q);

}  // namespace vask
