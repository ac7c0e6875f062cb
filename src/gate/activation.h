// What becomes of a layer's sums: rows in Q12, sigmoids, and the new state of a GRU.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// rows[i] = bias_q12[i] + sums[i] * scale[i] / 2^31 rounded, held to 16 bits: Q12, -8 to 8. No sum exceeds
// 2^30, no bias 2^24.
void Rescale(std::span<const int32_t> sums, const int32_t* scale, const int32_t* bias_q12, int16_t* rows_q12);

// Q12 becomes 1 / (1 + exp(-x)), Q15, within 0.0002 and -8 to 8 taken as the whole axis: between the entries
// of a table of 512 steps.
void Sigmoids(std::span<int16_t> values);

// What a GRU's state is made from: arrays of the state's length.
struct GruRows {
  const int16_t *reset_q15, *update_q15;           // 0 or more
  const int16_t *from_input_q12, *from_state_q12;  // the candidate's rows
};

// state = n + update * (state - n) with the candidate n = tanh(from_input + reset * from_state), Q15.
void UpdateState(const GruRows& rows, std::span<int16_t> state_q15);

}  // namespace vask
