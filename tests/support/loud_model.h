// A model whose five outputs are high exactly where the sound is loud, without memory: what a stream should
// do with it can be told from the input.
#pragma once

#include <vask/model.h>

#include <string>
#include <vask/stream.hpp>

#include "support/folder.h"
#include "support/model.h"

namespace vask::test {

// `threshold`: mean log2 of the bands' amplitudes where the outputs are 1/2; one octave more and they are
// near 1.
inline ModelContents LoudModel(double threshold) {
  ModelContents model = MakeModel(16, 16, 16, Kind::kTrained, 1);
  for (MatrixOfModel& matrix : model.matrices) {
    std::fill(matrix.weights.begin(), matrix.weights.end(), int8_t{0});
    std::fill(matrix.bias.begin(), matrix.bias.end(), 0);
  }
  const auto q31 = [](double value) { return static_cast<int32_t>(std::lround(std::ldexp(value, 31))); };
  constexpr double kOneQ12 = 4096, kOneQ15 = 32768, kWeight = 127;
  std::fill(model.centre.begin(), model.centre.end(), static_cast<int16_t>(std::lround(256 * threshold)));
  MatrixOfModel& dense = model.matrices[0];
  std::fill(dense.weights.begin(), dense.weights.begin() + 80, int8_t{1});  // both frames' bands
  dense.scale[0] = q31(kOneQ12 / (80 * 256));                               // an octave gives 1
  for (const size_t gru : {size_t{1}, size_t{4}}) {
    std::fill(model.matrices[gru].bias.begin(), model.matrices[gru].bias.end(), -32768);  // both gates shut
    model.matrices[gru + 1].weights[0] = static_cast<int8_t>(kWeight);
    model.matrices[gru + 1].scale[0] = q31(2 * kOneQ12 / (kWeight * kOneQ15));  // tanh(2)
  }
  MatrixOfModel& output = model.matrices[7];
  for (size_t row = 0; row < 5; ++row) {
    output.weights[row * output.columns + 16] =
        static_cast<int8_t>(kWeight);  // the second state's first value
    output.scale[row] = q31(5 * kOneQ12 / (kWeight * kOneQ15));
  }
  return model;
}

// Of one of these, by way of a file.
class ModelFile {
 public:
  explicit ModelFile(const ModelContents& contents) : model_(Written(contents).c_str()) {}
  const vask_model* get() const { return model_.get(); }

 private:
  std::string Written(const ModelContents& contents) {
    std::ofstream(folder_ / "model", std::ios::binary) << BytesOf(contents);
    return folder_ / "model";
  }

  Folder folder_;
  StreamModel model_;
};

// One that all streams of a test share, and only read. Its threshold is between hiss of 20 units and speech.
inline const vask_model* Loud() {
  static const ModelFile file(LoudModel(10));
  return file.get();
}

}  // namespace vask::test
