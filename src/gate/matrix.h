// Products of a matrix of 8-bit weights and a vector of 16-bit values, with sums in 32 bits: all that the
// detector's layers need, and its bank of lags.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

inline constexpr int32_t kColumnStep = 16;  // rows are padded with zeros to a multiple of this

// The length of a row that holds `values` weights.
consteval int32_t PaddedColumns(int32_t values) {
  return (values + kColumnStep - 1) / kColumnStep * kColumnStep;
}

// sums[i] = sum of weights[i * x.size() + j] * x[j]. x.size() is a multiple of kColumnStep, at most 512: no
// sum exceeds 31 bits.
void Multiply(const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums);

}  // namespace vask
