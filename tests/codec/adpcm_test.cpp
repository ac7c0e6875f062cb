// IMA ADPCM over its whole domains against a plain reading of its rule, and streams against single steps.
#include <gtest/gtest.h>
#include <vask/adpcm.h>

#include <algorithm>
#include <cstdlib>
#include <thread>

#include "support/inputs.h"

namespace {

using vask::test::Noise, vask::test::Samples;
using Bytes = std::vector<uint8_t>;

constexpr int32_t kIndices = 89;

// 7 ... 14, then 16 * 1.1^n rounded down, up to the largest sample.
std::vector<int32_t> Steps() {
  std::vector<int32_t> steps = {7, 8, 9, 10, 11, 12, 13, 14};
  for (double step = 16; steps.size() < kIndices; step *= 1.1)
    steps.push_back(std::min(static_cast<int32_t>(step), 32767));
  return steps;
}

// What the magnitude of a code adds to an eighth of the step.
int32_t Parts(int32_t step, int32_t code) {
  return (code & 4 ? step : 0) + (code & 2 ? step / 2 : 0) + (code & 1 ? step / 4 : 0);
}

adpcm_state After(int32_t value, int32_t index, int32_t step, int32_t code) {
  constexpr int32_t kMoves[] = {-1, -1, -1, -1, 2, 4, 6, 8};
  const int32_t move = step / 8 + Parts(step, code);
  return {static_cast<int16_t>(std::clamp(code & 8 ? value - move : value + move, -32768, 32767)),
          static_cast<uint8_t>(std::clamp(index + kMoves[code & 7], 0, kIndices - 1))};
}

bool operator==(const adpcm_state& a, const adpcm_state& b) {
  return a.valprev == b.valprev && a.index == b.index;
}

// 65,536 predictions x 16 codes.
void DecodeFrom(int32_t index, const std::vector<int32_t>& steps) {
  for (int32_t code = 0; code < 16; ++code) {
    for (int32_t value = -32768; value <= 32767; ++value) {
      const adpcm_state expected = After(value, index, steps[static_cast<size_t>(index)], code);
      adpcm_state state = {static_cast<int16_t>(value), static_cast<uint8_t>(index)};
      const auto byte = static_cast<uint8_t>(code << 4);
      int16_t heard = 0;
      const int32_t step = adpcm_decoder(&byte, &heard, 1, &state);
      ASSERT_TRUE(state == expected && heard == expected.valprev && step == steps[expected.index])
          << "index " << index << ", prediction " << value << ", code " << code << " gives " << heard
          << " and " << +state.index;
    }
  }
}

// 131,071 distances of a sample from the prediction: the code is the largest whose parts fit into the
// distance.
void EncodeFrom(int32_t index, const std::vector<int32_t>& steps) {
  const int32_t step = steps[static_cast<size_t>(index)];
  for (int32_t distance = -65535; distance <= 65535; ++distance) {
    const auto from = static_cast<int16_t>(-((distance + 1) / 2));
    const auto sample = static_cast<int16_t>(from + distance);
    int32_t code = 7;
    while (Parts(step, code) > std::abs(distance)) --code;
    if (distance < 0) code |= 8;
    const adpcm_state expected = After(from, index, step, code);
    adpcm_state state = {from, static_cast<uint8_t>(index)};
    uint8_t byte = 0;
    const int32_t value = adpcm_coder(&sample, &byte, 1, &state);
    ASSERT_TRUE(byte == code << 4 && state == expected && value == expected.valprev)
        << "index " << index << ", distance " << distance << " gives " << byte / 16 << ", " << value
        << " and " << +state.index;
  }
}

void FromEveryIndex(void (*check)(int32_t, const std::vector<int32_t>&)) {
  const std::vector<int32_t> steps = Steps();
  const auto half = [&](int32_t first) {
    for (int32_t index = first; index < kIndices; index += 2) check(index, steps);
  };
  std::thread odd(half, 1);
  half(0);
  odd.join();
}

TEST(Adpcm, DecodesEveryStateAsTheRuleSays) { FromEveryIndex(DecodeFrom); }     // 93,323,264
TEST(Adpcm, EncodesEveryDistanceAsTheRuleSays) { FromEveryIndex(EncodeFrom); }  // 11,665,319

// Two codes to a byte, the first in the high nibble; and the state goes on from call to call.
TEST(Adpcm, WorksOnAStreamAsStepByStep) {
  for (const size_t n : {0u, 1u, 1000u, 1001u}) {
    const Samples in = Noise(n, 9000, 9);
    Bytes codes((n + 1) / 2), expected((n + 1) / 2);
    Samples heard(n);
    adpcm_state encoder = {-1234, 56}, single = encoder, decoder = encoder;
    adpcm_coder(in.data(), codes.data(), static_cast<int32_t>(n), &encoder);
    adpcm_decoder(codes.data(), heard.data(), static_cast<int32_t>(n), &decoder);
    for (size_t i = 0; i < n; ++i) {
      uint8_t code = 0;
      ASSERT_EQ(adpcm_coder(&in[i], &code, 1, &single), heard[i]) << "sample " << i << " of " << n;
      expected[i / 2] = static_cast<uint8_t>(expected[i / 2] | (i % 2 == 0 ? code : code >> 4));
    }
    EXPECT_EQ(codes, expected) << n;
    EXPECT_TRUE(encoder == single && decoder == single) << n;
  }
}

TEST(Adpcm, TreatsAnIndexBeyondTheTableAsItsLast) {
  const Samples in = Noise(64, 32767, 9);
  for (const uint8_t index : {uint8_t{89}, uint8_t{255}}) {
    adpcm_state good = {100, 88}, wrong = {100, index};
    Bytes a(32), b(32);
    EXPECT_EQ(adpcm_coder(in.data(), a.data(), 64, &good), adpcm_coder(in.data(), b.data(), 64, &wrong));
    EXPECT_EQ(a, b);
    Samples x(64), y(64);
    good = {100, 88}, wrong = {100, index};
    EXPECT_EQ(adpcm_decoder(a.data(), x.data(), 64, &good), adpcm_decoder(a.data(), y.data(), 64, &wrong));
    EXPECT_EQ(x, y);
    EXPECT_EQ(wrong.index, good.index);
    wrong = {100, index};
    EXPECT_EQ(adpcm_decoder(a.data(), x.data(), 0, &wrong), 32767);
    EXPECT_EQ(wrong.index, index);  // nothing decoded, nothing written
  }
}

TEST(Adpcm, NoSamplesNeedNoBuffers) {
  adpcm_state state = {-5, 0};
  EXPECT_EQ(adpcm_coder(nullptr, nullptr, 0, &state), -5);   // the value
  EXPECT_EQ(adpcm_decoder(nullptr, nullptr, 0, &state), 7);  // the step
}

}  // namespace
