#include "gate/model.h"

#include <algorithm>

namespace vask {
namespace {

using Bytes = std::span<const int8_t>;

constexpr char kMagic[] = {'V', 'A', 'S', 'K', 'G', 'A', 'T', 'E'};
constexpr uint32_t kVersion = 1;

// Fields of the header, bytes from its start.
constexpr size_t kVersionAt = 8, kDigestAt = 12, kLengthAt = 16, kInputsAt = 20, kDenseAt = 22, kFirstAt = 24,
                 kSecondAt = 26, kOutputsAt = 28, kReservedAt = 30;

constexpr uint32_t Read16(Bytes bytes, size_t at) {
  return static_cast<uint32_t>(static_cast<uint8_t>(bytes[at]) | static_cast<uint8_t>(bytes[at + 1]) << 8);
}

constexpr uint32_t Read32(Bytes bytes, size_t at) { return Read16(bytes, at) | Read16(bytes, at + 2) << 16; }

constexpr bool IsSize(uint32_t size) { return size > 0 && size % static_cast<uint32_t>(kColumnStep) == 0; }

// The values after the header, in their order. It is only asked for what is there: the sizes are checked
// before.
class Reader {
 public:
  constexpr Reader(Bytes bytes, size_t at, Model& model) : bytes_(bytes), model_(model), at_(at) {}

  constexpr void TakeCentre() {
    for (int16_t& centre : model_.centre_q8) {
      centre = static_cast<int16_t>(Read16(bytes_, at_));
      at_ += 2;
    }
  }

  constexpr Layer TakeLayer(int32_t rows, int32_t columns) {
    const int32_t first_row = row_;
    row_ += rows;
    TakeRows(model_.scale, first_row);
    TakeRows(model_.bias_q12, first_row);
    const Layer layer = {bytes_.data() + at_, rows, columns, first_row};
    at_ += static_cast<size_t>(rows) * static_cast<size_t>(columns);
    return layer;
  }

  constexpr GruLayers TakeGru(int32_t inputs, int32_t state) {
    const Layer gates = TakeLayer(2 * state, inputs + state);
    const Layer input_candidate = TakeLayer(state, inputs);
    return {gates, input_candidate, TakeLayer(state, state)};
  }

 private:
  constexpr void TakeRows(std::array<int32_t, kMostRows>& values, int32_t first) {
    for (int32_t row = first; row < row_; ++row) {
      values[static_cast<size_t>(row)] = static_cast<int32_t>(Read32(bytes_, at_));
      at_ += 4;
    }
  }

  Bytes bytes_;
  Model& model_;
  size_t at_;
  int32_t row_ = 0;
};

constexpr size_t BytesOfLayer(uint32_t rows, uint32_t columns) { return size_t{rows} * (8 + columns); }

constexpr size_t BytesOfGru(uint32_t inputs, uint32_t state) {
  return BytesOfLayer(2 * state, inputs + state) + BytesOfLayer(state, inputs) + BytesOfLayer(state, state);
}

// Everything but the digest. Its result is known when the library is compiled, for the built-in model.
constexpr int32_t ReadLayout(Bytes bytes, Model& model) {
  const size_t magic = std::min(bytes.size(), std::size(kMagic));
  if (magic == 0 || !std::equal(kMagic, kMagic + magic, bytes.begin())) return VASK_MODEL_NOT_ONE;
  if (bytes.size() < kModelHeader) return VASK_MODEL_DAMAGED;
  if (Read32(bytes, kVersionAt) != kVersion || Read16(bytes, kInputsAt) != kGateInputs ||
      Read16(bytes, kOutputsAt) != kNetOutputs || Read16(bytes, kReservedAt) != 0) {
    return VASK_MODEL_NOT_ONE;
  }
  const uint32_t dense = Read16(bytes, kDenseAt), first = Read16(bytes, kFirstAt),
                 second = Read16(bytes, kSecondAt);
  if (dense > kMostDense || first > kMostState || second > kMostState) return VASK_MODEL_TOO_LARGE;
  if (!IsSize(dense) || !IsSize(first) || !IsSize(second)) return VASK_MODEL_DAMAGED;
  const size_t length = sizeof(model.centre_q8) + BytesOfLayer(dense, kPaddedInputs) +
                        BytesOfGru(dense, first) + BytesOfGru(first, second) +
                        BytesOfLayer(kNetOutputs, first + second);
  if (kModelHeader + length > kMostModelBytes) return VASK_MODEL_TOO_LARGE;
  if (Read32(bytes, kLengthAt) != length || bytes.size() != kModelHeader + length) return VASK_MODEL_DAMAGED;

  const auto d = static_cast<int32_t>(dense), h1 = static_cast<int32_t>(first),
             h2 = static_cast<int32_t>(second);
  model.digest = Read32(bytes, kDigestAt);
  Reader reader(bytes, kModelHeader, model);
  reader.TakeCentre();
  model.dense = reader.TakeLayer(d, kPaddedInputs);
  model.first = reader.TakeGru(d, h1);
  model.second = reader.TakeGru(h1, h2);
  model.output = reader.TakeLayer(kNetOutputs, h1 + h2);
  for (const int32_t bias : model.bias_q12) {
    if (bias < -kMostBiasQ12 || bias > kMostBiasQ12) return VASK_MODEL_DAMAGED;
  }
  return VASK_MODEL_OK;
}

// CRC-32, bit by bit: a model is read once.
uint32_t DigestOf(Bytes bytes) {
  uint32_t crc = ~uint32_t{0};
  for (const int8_t byte : bytes) {
    crc ^= static_cast<uint8_t>(byte);
    for (int32_t bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xedb88320u : 0u);
  }
  return ~crc;
}

#if !defined(VASK_NO_BUILT_IN_MODEL)

constexpr int8_t kBuiltInBytes[] = {
#include "gate/tables/model.inc"
};

consteval Model ReadBuiltIn() {
  Model model = {};
  const int32_t reason = ReadLayout(kBuiltInBytes, model);
  if (reason != VASK_MODEL_OK) model.digest = 0;
  return model;
}

constexpr Model kBuiltIn = ReadBuiltIn();
static_assert(kBuiltIn.digest != 0, "tables/model.inc is not a model");

#endif

}  // namespace

int32_t ReadModel(std::span<const int8_t> bytes, Model& model) {
  model = {};
  const int32_t reason = ReadLayout(bytes, model);
  if (reason != VASK_MODEL_OK) return reason;
  return DigestOf(bytes.subspan(kModelHeader)) == model.digest ? VASK_MODEL_OK : VASK_MODEL_DAMAGED;
}

const Model* BuiltInModel() {
#if defined(VASK_NO_BUILT_IN_MODEL)
  return nullptr;
#else
  return &kBuiltIn;
#endif
}

}  // namespace vask
