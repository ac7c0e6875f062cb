// The net: dense layer -> GRU -> GRU -> probabilities, in integers. docs/model-file.md says what is computed.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "gate/model.h"

namespace vask {

class Net {
 public:
  void Open(const Model& model);  // it must outlive the net
  void Clear();                   // nothing heard yet

  // One step of 20 ms. The probabilities are in the model's order, Q15.
  void Step(const GateInputs& inputs, std::span<int16_t, kNetOutputs> probabilities);

 private:
  void Centre(const GateInputs& inputs);
  void Take(const Layer& layer, const int16_t* from, int16_t* rows_q12) const;
  void StepGru(const GruLayers& gru, int16_t* input);

  const Model* model_;
  std::array<int16_t, kPaddedInputs> centred_q8_;
  // The dense layer's output and both states, one behind the other, Q15: each layer reads adjacent ones.
  std::array<int16_t, kMostDense + 2 * kMostState> values_q15_;
};

}  // namespace vask
