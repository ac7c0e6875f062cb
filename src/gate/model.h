// A model: sizes, weights and factors of the net. docs/model-file.md describes its bytes, which are those of
// a file or of the model that is built in.
#pragma once

#include <vask/model.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "gate/analysis.h"
#include "gate/matrix.h"

namespace vask {

inline constexpr int32_t kNetOutputs = 5;
inline constexpr int32_t kPaddedInputs = PaddedColumns(kGateInputs);
inline constexpr int32_t kMostDense = 64;
inline constexpr int32_t kMostState = 128;  // of one GRU
inline constexpr int32_t kMostRows = kMostDense + 2 * 4 * kMostState + kNetOutputs;
inline constexpr int32_t kMostBiasQ12 = 1 << 24;  // far outside what a row is clamped to, far inside 32 bits

// One matrix. Row i has the scale and the bias of row first_row + i of the model.
struct Layer {
  const int8_t* weights;
  int32_t rows, columns, first_row;
};

struct GruLayers {
  Layer gates;            // reset, then update, of input and state
  Layer input_candidate;  // of the input
  Layer state_candidate;  // of the state
};

struct Model {
  Layer dense;
  GruLayers first, second;
  Layer output;
  std::array<int16_t, kPaddedInputs> centre_q8;
  std::array<int32_t, kMostRows> scale;     // (sum * scale) / 2^31 is Q12
  std::array<int32_t, kMostRows> bias_q12;  // at most kMostBiasQ12
  uint32_t digest;
};

inline constexpr size_t kModelHeader = 32;
inline constexpr size_t kMostModelBytes = kModelHeader + 120 * 1024;

// Read a model from the bytes of its file, which must outlive it: the weights stay there. The result is a
// reason of vask/model.h; `model` is complete if it is VASK_MODEL_OK.
int32_t ReadModel(std::span<const int8_t> bytes, Model& model);

// The model that is built in; null if the library has none.
const Model* BuiltInModel();

// The model behind the interface's handle; for null the one that is built in, which may be null.
const Model* ModelOf(const vask_model* given);

}  // namespace vask
