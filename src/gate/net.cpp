#include "gate/net.h"

#include <algorithm>

#include "gate/activation.h"

namespace vask {
namespace {

constexpr int32_t kOneQ15 = 32767;

int16_t Difference16(int32_t a, int32_t b) { return static_cast<int16_t>(std::clamp(a - b, -32768, 32767)); }

}  // namespace

void Net::Open(const Model& model) {
  model_ = &model;
  Clear();
}

void Net::Clear() {
  centred_q8_ = {};
  values_q15_ = {};
}

void Net::Step(const GateInputs& inputs, std::span<int16_t, kNetOutputs> probabilities) {
  int16_t* const dense = values_q15_.data();
  int16_t* const first = dense + model_->dense.rows;
  Centre(inputs);
  Take(model_->dense, centred_q8_.data(), dense);
  for (int16_t* value = dense; value < first; ++value) {
    *value = static_cast<int16_t>(std::clamp(*value * 8, -kOneQ15, kOneQ15));  // Q12 + 3 = Q15
  }
  StepGru(model_->first, dense);
  StepGru(model_->second, first);
  Take(model_->output, first, probabilities.data());
  Sigmoids(probabilities);
}

void Net::Centre(const GateInputs& inputs) {
  std::transform(inputs.begin(), inputs.end(), model_->centre_q8.begin(), centred_q8_.begin(), Difference16);
}

void Net::Take(const Layer& layer, const int16_t* from, int16_t* rows_q12) const {
  std::array<int32_t, 2 * kMostState> room;
  const auto sums = std::span(room).first(static_cast<size_t>(layer.rows));
  const auto first = static_cast<size_t>(layer.first_row);
  Multiply(layer.weights, {from, static_cast<size_t>(layer.columns)}, sums);
  Rescale(sums, &model_->scale[first], &model_->bias_q12[first], rows_q12);
}

// `input`, then the state.
void Net::StepGru(const GruLayers& gru, int16_t* input) {
  std::array<int16_t, 2 * kMostState> gates;
  std::array<int16_t, kMostState> from_input, from_state;
  const auto length = static_cast<size_t>(gru.state_candidate.rows);
  int16_t* const state = input + gru.input_candidate.columns;
  Take(gru.gates, input, gates.data());
  Sigmoids(std::span(gates).first(2 * length));
  Take(gru.input_candidate, input, from_input.data());
  Take(gru.state_candidate, state, from_state.data());
  UpdateState({gates.data(), gates.data() + length, from_input.data(), from_state.data()}, {state, length});
}

}  // namespace vask
