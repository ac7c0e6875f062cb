// Models: what is refused, and why.
#include "gate/model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

#include "support/folder.h"
#include "support/model.h"

namespace vask {
namespace {

using test::Kind;

int32_t ReasonOf(const std::string& bytes, Model& model) {
  return ReadModel({reinterpret_cast<const int8_t*>(bytes.data()), bytes.size()}, model);
}

int32_t ReasonOf(const std::string& bytes) {
  Model model;
  return ReasonOf(bytes, model);
}

std::string SmallModel() { return test::BytesOf(test::MakeModel(16, 32, 48, Kind::kTrained, 1)); }

TEST(Model, HoldsWhatItsBytesSay) {
  const test::ModelContents contents = test::MakeModel(16, 32, 48, Kind::kRandom, 7);
  const std::string bytes = test::BytesOf(contents);
  Model model;
  ASSERT_EQ(ReasonOf(bytes, model), VASK_MODEL_OK);
  EXPECT_TRUE(std::equal(contents.centre.begin(), contents.centre.end(), model.centre_q8.begin()));
  const Layer layers[] = {model.dense,
                          model.first.gates,
                          model.first.input_candidate,
                          model.first.state_candidate,
                          model.second.gates,
                          model.second.input_candidate,
                          model.second.state_candidate,
                          model.output};
  for (size_t i = 0; i < std::size(layers); ++i) {
    const Layer& layer = layers[i];
    const test::MatrixOfModel& matrix = contents.matrices[i];
    ASSERT_EQ(layer.rows, static_cast<int32_t>(matrix.rows)) << "matrix " << i;
    ASSERT_EQ(layer.columns, static_cast<int32_t>(matrix.columns)) << "matrix " << i;
    EXPECT_TRUE(std::equal(matrix.weights.begin(), matrix.weights.end(), layer.weights)) << "matrix " << i;
    const auto first = static_cast<size_t>(layer.first_row);
    EXPECT_TRUE(std::equal(matrix.scale.begin(), matrix.scale.end(), &model.scale[first])) << "matrix " << i;
    EXPECT_TRUE(std::equal(matrix.bias.begin(), matrix.bias.end(), &model.bias_q12[first])) << "matrix " << i;
  }
}

TEST(Model, IsRefusedWhenCutAnywhereOrLonger) {
  const std::string bytes = SmallModel();
  EXPECT_EQ(ReasonOf(""), VASK_MODEL_NOT_ONE);
  for (size_t length = 1; length < bytes.size(); ++length)
    ASSERT_EQ(ReasonOf(bytes.substr(0, length)), VASK_MODEL_DAMAGED) << length << " bytes";
  EXPECT_EQ(ReasonOf(bytes + '\0'), VASK_MODEL_DAMAGED);
}

TEST(Model, IsRefusedWithAnyBitOfItsContentsOrDigestFlipped) {
  const std::string bytes = SmallModel();
  const auto flipped = [&](size_t at) {
    std::string changed = bytes;
    changed[at] = static_cast<char>(changed[at] ^ (1 << at % 8));
    return changed;
  };
  for (size_t at = 12; at < 16; ++at) EXPECT_EQ(ReasonOf(flipped(at)), VASK_MODEL_DAMAGED) << "byte " << at;
  for (size_t at = 32; at < bytes.size(); at += 61)
    ASSERT_EQ(ReasonOf(flipped(at)), VASK_MODEL_DAMAGED) << "byte " << at;
}

TEST(Model, IsRefusedWithAWrongHeader) {
  struct Case {
    size_t at;
    int count;
    int64_t value;
    int32_t reason;
  };
  constexpr int64_t kRest = INT64_C(0x7fffffff);
  for (const Case& c : {Case{0, 1, 'v', VASK_MODEL_NOT_ONE}, {7, 1, 'F', VASK_MODEL_NOT_ONE},
                        {8, 4, 0, VASK_MODEL_NOT_ONE},       {8, 4, 2, VASK_MODEL_NOT_ONE},
                        {16, 4, 0, VASK_MODEL_DAMAGED},      {16, 4, kRest, VASK_MODEL_DAMAGED},
                        {16, 4, -1, VASK_MODEL_DAMAGED},     {20, 2, 96, VASK_MODEL_NOT_ONE},
                        {22, 2, 0, VASK_MODEL_DAMAGED},      {22, 2, 17, VASK_MODEL_DAMAGED},
                        {22, 2, 32, VASK_MODEL_DAMAGED},     {22, 2, 80, VASK_MODEL_TOO_LARGE},
                        {24, 2, 0, VASK_MODEL_DAMAGED},      {24, 2, 40, VASK_MODEL_DAMAGED},
                        {24, 2, 144, VASK_MODEL_TOO_LARGE},  {26, 2, 0, VASK_MODEL_DAMAGED},
                        {26, 2, 8, VASK_MODEL_DAMAGED},      {26, 2, 65520, VASK_MODEL_TOO_LARGE},
                        {28, 2, 4, VASK_MODEL_NOT_ONE},      {30, 2, 1, VASK_MODEL_NOT_ONE}}) {
    std::string bytes = SmallModel();
    test::Put(bytes, c.at, c.value, c.count);
    EXPECT_EQ(ReasonOf(bytes), c.reason) << c.value << " at " << c.at;
  }
}

TEST(Model, IsRefusedIfThereIsNoRoomForItOrABiasCouldOverflow) {
  // Each size is allowed, but not all at once: 172 KB.
  EXPECT_EQ(ReasonOf(test::BytesOf(test::MakeModel(64, 128, 128, Kind::kTrained, 1))), VASK_MODEL_TOO_LARGE);
  EXPECT_EQ(ReasonOf(test::BytesOf(test::MakeModel(64, 96, 96, Kind::kTrained, 1))), VASK_MODEL_OK);
  for (const int32_t bias : {(1 << 24) + 1, -(1 << 24) - 1, INT32_MAX, INT32_MIN}) {
    for (const size_t matrix : {0, 4, 7}) {
      test::ModelContents contents = test::MakeModel(16, 16, 16, Kind::kTrained, 1);
      contents.matrices[matrix].bias.back() = bias;
      EXPECT_EQ(ReasonOf(test::BytesOf(contents)), VASK_MODEL_DAMAGED) << bias << " in matrix " << matrix;
    }
  }
}

TEST(Model, IsReadFromItsFileOrFromMemory) {
  const test::Folder folder;
  const std::string bytes = SmallModel();
  const auto opened = [&](const std::string& contents, int32_t* reason) {
    const std::string path = folder / "model";
    std::ofstream(path, std::ios::binary) << contents;
    return vask_model_open(path.c_str(), reason);
  };
  int32_t reason = -1;
  vask_model* model = opened(bytes, &reason);
  ASSERT_NE(model, nullptr);
  EXPECT_EQ(reason, VASK_MODEL_OK);
  vask_model* in_memory = vask_model_read(bytes.data(), static_cast<uint32_t>(bytes.size()), &reason);
  EXPECT_EQ(reason, VASK_MODEL_OK);
  EXPECT_EQ(vask_model_digest(in_memory), vask_model_digest(model));
  vask_model_close(in_memory);
  EXPECT_EQ(vask_model_read(nullptr, 100, &reason), nullptr);
  EXPECT_EQ(reason, VASK_MODEL_NO_FILE);
  const auto* digest = reinterpret_cast<const uint8_t*>(bytes.data()) + 12;
  EXPECT_EQ(vask_model_digest(model),
            digest[0] | digest[1] << 8 | digest[2] << 16 | static_cast<uint32_t>(digest[3]) << 24);
  EXPECT_EQ(ModelOf(model)->second.state_candidate.rows, 48);
  vask_model_close(model);
  model = opened(bytes, nullptr);
  EXPECT_NE(model, nullptr);
  vask_model_close(model);

  for (const auto& [contents, expected] : {std::pair{std::string(), VASK_MODEL_NOT_ONE},
                                           {"RIFF", VASK_MODEL_NOT_ONE},
                                           {bytes.substr(0, 1000), VASK_MODEL_DAMAGED},
                                           {bytes + std::string(200000, '\0'), VASK_MODEL_DAMAGED}}) {
    EXPECT_EQ(opened(contents, &reason), nullptr);
    EXPECT_EQ(reason, expected) << contents.size() << " bytes";
    EXPECT_EQ(vask_model_read(contents.data(), static_cast<uint32_t>(contents.size()), &reason), nullptr);
    EXPECT_EQ(reason, expected) << contents.size() << " bytes in memory";
  }
  const std::string missing = folder / "missing", itself = folder / "";
  for (const char* path : {missing.c_str(), itself.c_str(), static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(vask_model_open(path, &reason), nullptr);
    EXPECT_EQ(reason, VASK_MODEL_NO_FILE);
  }
  vask_model_close(nullptr);
}

TEST(Model, OfTheLibraryHasTheDigestOfItsBytes) {
  const Model* built_in = BuiltInModel();
  if (built_in == nullptr) {
    EXPECT_EQ(vask_model_digest(nullptr), 0u);
    GTEST_SKIP() << "no model is built in";
  }
  static constexpr int8_t kBytes[] = {
#include "gate/tables/model.inc"
  };
  Model read;
  EXPECT_EQ(ReadModel(kBytes, read), VASK_MODEL_OK);  // the compiler checks all but the digest
  EXPECT_EQ(vask_model_digest(nullptr), read.digest);
  EXPECT_LE(sizeof(kBytes), kMostModelBytes);
}

}  // namespace
}  // namespace vask
