// The net against a slow one that follows docs/model-file.md word by word, at every level.
#include "gate/net.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "gate/gate.h"
#include "gate/tables/sigmoid.h"
#include "support/inputs.h"
#include "support/levels.h"
#include "support/model.h"

namespace vask {
namespace {

using test::Kind;
using test::MatrixOfModel;
using Numbers = std::vector<int64_t>;

int64_t Limit(int64_t value, int64_t least, int64_t most) { return std::min(std::max(value, least), most); }
int64_t Limit16(int64_t value) { return Limit(value, -32768, 32767); }

class SlowNet {
 public:
  explicit SlowNet(test::ModelContents model)
      : model_(std::move(model)), first_(model_.first), second_(model_.second) {}

  Numbers Step(const GateInputs& inputs) {
    Numbers x(96);
    for (size_t i = 0; i < 92; ++i) x[i] = Limit16(inputs[i] - int64_t{model_.centre[i]});
    Numbers dense = Rows(0, x);
    for (int64_t& y : dense) y = Limit(8 * y, -32767, 32767);
    Gru(1, dense, first_);
    Gru(4, first_, second_);
    Numbers said = Rows(7, Joined(first_, second_));
    for (int64_t& p : said) p = Sigmoid(p);
    return said;
  }

 private:
  static Numbers Joined(Numbers a, const Numbers& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
  }

  static int64_t Sigmoid(int64_t a) {
    const int64_t p = a + 32768, f = p % 128;
    const int64_t low = kSigmoidQ15[static_cast<size_t>(p / 128)],
                  high = kSigmoidQ15[static_cast<size_t>(p / 128 + 1)];
    return low + (((high - low) * f + 64) >> 7);
  }

  Numbers Rows(size_t number, const Numbers& x) const {
    const MatrixOfModel& matrix = model_.matrices[number];
    EXPECT_EQ(matrix.columns, x.size());
    Numbers rows;
    for (size_t i = 0; i < matrix.rows; ++i) {
      int64_t sum = 0;
      for (size_t j = 0; j < x.size(); ++j) sum += matrix.weights[i * x.size() + j] * x[j];
      rows.push_back(Limit16(matrix.bias[i] + ((sum * matrix.scale[i] + (int64_t{1} << 30)) >> 31)));
    }
    return rows;
  }

  void Gru(size_t number, const Numbers& x, Numbers& h) const {
    const Numbers gates = Rows(number, Joined(x, h)), of_x = Rows(number + 1, x), of_h = Rows(number + 2, h);
    for (size_t i = 0; i < h.size(); ++i) {
      const int64_t r = Sigmoid(gates[i]), z = Sigmoid(gates[h.size() + i]);
      const int64_t a = Limit16(of_x[i] + ((r * of_h[i] + (1 << 14)) >> 15));
      const int64_t n = Limit(2 * Sigmoid(Limit16(2 * a)) - 32768, -32767, 32767);
      h[i] = Limit(n + ((z * (h[i] - n) + (1 << 14)) >> 15), -32767, 32767);
    }
  }

  test::ModelContents model_;
  Numbers first_, second_;
};

struct Sizes {
  size_t dense, first, second;
};

// Loud, quiet and extreme inputs in turn.
GateInputs AnyInputs(std::mt19937& random, int step) {
  GateInputs inputs;
  for (int16_t& u : inputs) {
    const auto any = static_cast<int16_t>(random());
    u = step % 4 == 0   ? any
        : step % 4 == 1 ? int16_t{-32768}
                        : static_cast<int16_t>(1500 + (any >> (step % 4 + 3)));
  }
  return inputs;
}

void CheckAgainstSlow(const Sizes& sizes, Kind kind, uint32_t seed) {
  const test::ModelContents contents = test::MakeModel(sizes.dense, sizes.first, sizes.second, kind, seed);
  const std::string bytes = test::BytesOf(contents);
  Model model;
  ASSERT_EQ(ReadModel({reinterpret_cast<const int8_t*>(bytes.data()), bytes.size()}, model), VASK_MODEL_OK);
  test::AtEachLevel([&](Level level) {
    SlowNet slow(contents);
    Net net;
    net.Open(model);
    std::mt19937 random(seed);
    for (int step = 0; step < 24; ++step) {
      const GateInputs inputs = AnyInputs(random, step);
      std::array<int16_t, kNetOutputs> said;
      net.Step(inputs, said);
      ASSERT_EQ(Numbers(said.begin(), said.end()), slow.Step(inputs))
          << NameOf(level) << ", step " << step << ", sizes " << sizes.dense << ' ' << sizes.first << ' '
          << sizes.second << ", kind " << static_cast<int>(kind) << ", seed " << seed;
    }
  });
}

TEST(Net, IsTheSlowOneForAllSizesAndWeights) {
  uint32_t seed = 0;
  for (const Sizes& sizes : {Sizes{16, 16, 16}, {48, 80, 64}, {64, 96, 80}, {32, 48, 128}, {16, 128, 16}}) {
    for (const Kind kind :
         {Kind::kTrained, Kind::kTrained, Kind::kRandom, Kind::kRandom, Kind::kHighest, Kind::kLowest})
      CheckAgainstSlow(sizes, kind, ++seed);
  }
}

TEST(Net, TakesItsSigmoidFromDoublePrecision) {
  for (size_t i = 0; i < kSigmoidQ15.size(); ++i) {
    const double exact = 32768 / (1 + std::exp(8 - static_cast<double>(i) / 32));
    EXPECT_NEAR(kSigmoidQ15[i], std::min(exact, 32767.0), 0.500001) << "entry " << i;
  }
}

Verdict HearAll(Gate& gate, std::span<const int16_t> samples) {
  for (size_t at = 0; at + kFrame <= samples.size(); at += kFrame)
    gate.Hear(std::span<const int16_t, kFrame>(samples.data() + at, kFrame));
  return gate.verdict();
}

TEST(Gate, GivesAVerdictEverySecondFrameAndForgetsWhenCleared) {
  const std::string bytes = test::BytesOf(test::MakeModel(48, 80, 64, Kind::kTrained, 5));
  Model model;
  ASSERT_EQ(ReadModel({reinterpret_cast<const int8_t*>(bytes.data()), bytes.size()}, model), VASK_MODEL_OK);
  Gate gate, other;
  ASSERT_TRUE(gate.Open(model) && other.Open(model));
  const test::Samples room = test::Room(), noise = test::Noise(7 * kFrame, 9000, 1);
  for (int frame = 0; frame < 6; ++frame) {
    EXPECT_EQ(gate.Hear(std::span<const int16_t, kFrame>(noise.data(), kFrame)), frame % 2 == 1) << frame;
  }
  HearAll(gate, noise);  // an odd number: a step is half done
  gate.Clear();
  const std::span<const int16_t> speech = std::span(room).subspan(16000, 100 * kFrame);
  const Verdict after = HearAll(gate, speech), fresh = HearAll(other, speech);
  const auto all = [](const Verdict& v) {
    return std::array{v.speech_now, v.speech_100ms_ago, v.speech_200ms_ago, v.utterance, v.music};
  };
  EXPECT_EQ(all(after), all(fresh));
  EXPECT_NE(all(after), all(HearAll(gate, speech.first(2 * kFrame))));
  gate.Close();
  other.Close();
}

}  // namespace
}  // namespace vask
