// Models of the learned detector, made in memory: random ones with a seed, and their bytes.
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace vask::test {

struct MatrixOfModel {
  size_t rows, columns;
  std::vector<int32_t> scale, bias;
  std::vector<int8_t> weights;
};

// The eight matrices are in the order of docs/model-file.md.
struct ModelContents {
  size_t dense, first, second;
  std::vector<int16_t> centre;
  std::vector<MatrixOfModel> matrices;
};

enum class Kind { kTrained, kRandom, kHighest, kLowest };  // kTrained: weights of a usual size

inline MatrixOfModel MakeMatrix(size_t rows, size_t columns, Kind kind, int shift, std::mt19937& random) {
  MatrixOfModel matrix = {rows, columns, {}, {}, std::vector<int8_t>(rows * columns)};
  const auto scale =
      static_cast<int32_t>(std::ldexp(3.0 / std::sqrt(static_cast<double>(columns)) / 127, shift));
  for (size_t i = 0; i < rows; ++i) {
    const auto any = static_cast<int32_t>(random());
    matrix.scale.push_back(kind == Kind::kTrained   ? scale
                           : kind == Kind::kRandom  ? any >> (random() % 31)
                           : kind == Kind::kHighest ? INT32_MAX
                                                    : INT32_MIN);
    const int32_t bias = static_cast<int32_t>(random() % (2u << 24)) - (1 << 24);
    matrix.bias.push_back(kind == Kind::kTrained   ? bias >> 12
                          : kind == Kind::kRandom  ? bias >> (random() % 24)
                          : kind == Kind::kHighest ? 1 << 24
                                                   : -(1 << 24));
  }
  for (int8_t& weight : matrix.weights) {
    const auto any = static_cast<int8_t>(random());
    weight = kind == Kind::kHighest ? int8_t{127} : kind == Kind::kLowest ? int8_t{-128} : any;
  }
  return matrix;
}

inline ModelContents MakeModel(size_t dense, size_t first, size_t second, Kind kind, uint32_t seed) {
  std::mt19937 random(seed);
  ModelContents model = {dense, first, second, std::vector<int16_t>(96), {}};
  for (size_t i = 0; i < 92; ++i) {
    const auto any = static_cast<int16_t>(random());
    model.centre[i] = kind == Kind::kTrained ? static_cast<int16_t>(1500 + (any >> 8)) : any;
  }
  const auto add = [&](size_t rows, size_t columns, int shift) {
    model.matrices.push_back(MakeMatrix(rows, columns, kind, shift, random));
  };
  add(dense, 96, 33);
  for (const auto& [input, state] : {std::array{dense, first}, std::array{first, second}}) {
    add(2 * state, input + state, 28), add(state, input, 28), add(state, state, 28);
  }
  add(5, first + second, 28);
  return model;
}

inline void Append(std::string& bytes, int64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i));
}

// Overwrite `count` bytes from `at`.
inline void Put(std::string& bytes, size_t at, int64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes[at + static_cast<size_t>(i)] = static_cast<char>(value >> (8 * i));
}

// Give the header the digest of what follows it: the remainder of a division by the polynomial.
inline void Sign(std::string& bytes) {
  uint32_t remainder = 0xffffffff;
  for (size_t at = 32; at < bytes.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      const bool is_set = ((remainder ^ (static_cast<uint8_t>(bytes[at]) >> bit)) & 1) != 0;
      remainder = (remainder >> 1) ^ (is_set ? 0xedb88320 : 0);
    }
  }
  Put(bytes, 12, ~remainder, 4);
}

inline std::string BytesOf(const ModelContents& model) {
  std::string bytes = "VASKGATE" + std::string(24, '\0');
  for (const int16_t centre : model.centre) Append(bytes, centre, 2);
  for (const MatrixOfModel& matrix : model.matrices) {
    for (const int32_t scale : matrix.scale) Append(bytes, scale, 4);
    for (const int32_t bias : matrix.bias) Append(bytes, bias, 4);
    for (const int8_t weight : matrix.weights) Append(bytes, weight, 1);
  }
  Put(bytes, 8, 1, 4);
  Put(bytes, 16, static_cast<int64_t>(bytes.size()) - 32, 4);
  const size_t sizes[] = {92, model.dense, model.first, model.second, 5};
  for (size_t i = 0; i < 5; ++i) Put(bytes, 20 + 2 * i, static_cast<int64_t>(sizes[i]), 2);
  Sign(bytes);
  return bytes;
}

}  // namespace vask::test
