#include "gate/activation.h"

#include <algorithm>

#include "dsp/kernel.h"
#include "gate/tables/sigmoid.h"

namespace vask {
namespace {

constexpr int32_t kLeast16 = -32768, kMost16 = 32767;
constexpr int32_t kHalfQ15 = 1 << 14;

VASK_BODY int32_t Held16(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, kLeast16, kMost16));
}

VASK_BODY int32_t Sigmoid(int32_t value_q12) {
  const int32_t place = value_q12 - kLeast16;
  const int16_t* entry = &kSigmoidQ15[static_cast<size_t>(place >> 7)];
  return entry[0] + (((entry[1] - entry[0]) * (place & 127) + 64) >> 7);
}

// tanh(x) = 2 sigmoid(2x) - 1.
VASK_BODY int32_t Tanh(int32_t value_q12) {
  return std::max(2 * Sigmoid(Held16(2 * value_q12)) - 2 * kHalfQ15, -kMost16);
}

VASK_BODY void RescaleBody(std::span<const int32_t> sums, const int32_t* scale, const int32_t* bias_q12,
                           int16_t* rows_q12) {
  for (size_t i = 0; i < sums.size(); ++i) {
    const int64_t product = (int64_t{sums[i]} * scale[i] + (1 << 30)) >> 31;
    rows_q12[i] = static_cast<int16_t>(Held16(bias_q12[i] + product));
  }
}

VASK_BODY void SigmoidsBody(std::span<int16_t> values) {
  for (int16_t& value : values) value = static_cast<int16_t>(Sigmoid(value));
}

VASK_BODY void UpdateStateBody(const GruRows& rows, std::span<int16_t> state_q15) {
  for (size_t i = 0; i < state_q15.size(); ++i) {
    const int32_t kept_q12 = (rows.reset_q15[i] * rows.from_state_q12[i] + kHalfQ15) >> 15;
    const int32_t candidate = Tanh(Held16(rows.from_input_q12[i] + kept_q12));
    // At most 32767 * 65534 + 2^14, which is below 2^31; between the candidate and the old state.
    const int32_t moved = (rows.update_q15[i] * (state_q15[i] - candidate) + kHalfQ15) >> 15;
    state_q15[i] = static_cast<int16_t>(candidate + moved);
  }
}

}  // namespace

VASK_KERNEL(void, Rescale,
            (std::span<const int32_t> sums, const int32_t* scale, const int32_t* bias_q12, int16_t* rows_q12),
            (sums, scale, bias_q12, rows_q12), RescalePortable)
VASK_KERNEL(void, Sigmoids, (std::span<int16_t> values), (values), SigmoidsPortable)
VASK_KERNEL(void, UpdateState, (const GruRows& rows, std::span<int16_t> state_q15), (rows, state_q15),
            UpdateStatePortable)

}  // namespace vask
