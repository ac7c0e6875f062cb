// IMA ADPCM step by step, and from states that no encoder produces. tests/codec/audioop_check.py compares
// whole streams.
#include <gtest/gtest.h>
#include <vask/adpcm.h>

#include <algorithm>
#include <cstdlib>

#include "support/inputs.h"

namespace {

using vask::test::Noise, vask::test::Samples;
using Bytes = std::vector<uint8_t>;

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

// Every index with every distance from the prediction, 11,665,319 pairs: the code's magnitude is the largest
// whose parts, of the integer step, fit into the distance, and the decoder arrives at the state of the
// encoder.
TEST(Adpcm, TakesTheLargestCodeThatFitsFromEveryState) {
  for (uint8_t index = 0; index <= 88; ++index) {
    adpcm_state at = {0, index};
    const int32_t step = adpcm_decoder(nullptr, nullptr, 0, &at);
    for (int32_t distance = -65535; distance <= 65535; ++distance) {
      const auto from = static_cast<int16_t>(-((distance + 1) / 2));
      const auto sample = static_cast<int16_t>(from + distance);
      const auto parts = [step](int32_t c) {
        return (c & 4 ? step : 0) + (c & 2 ? step / 2 : 0) + (c & 1 ? step / 4 : 0);
      };
      int32_t code = 7;
      while (parts(code) > std::abs(distance)) --code;
      const int32_t move = (step / 8 + parts(code)) * (distance < 0 ? -1 : 1);
      constexpr int32_t kMoves[] = {-1, -1, -1, -1, 2, 4, 6, 8};
      const adpcm_state expected = {static_cast<int16_t>(std::clamp(from + move, -32768, 32767)),
                                    static_cast<uint8_t>(std::clamp(index + kMoves[code], 0, 88))};
      adpcm_state encoder = {from, index}, decoder = encoder;
      uint8_t byte = 0;
      int16_t heard = 0;
      const int32_t value = adpcm_coder(&sample, &byte, 1, &encoder);
      adpcm_decoder(&byte, &heard, 1, &decoder);
      ASSERT_EQ(byte, (code | (distance < 0 ? 8 : 0)) << 4)
          << "index " << +index << ", distance " << distance;
      ASSERT_TRUE(value == expected.valprev && heard == value && encoder.valprev == value &&
                  decoder.valprev == value && encoder.index == expected.index &&
                  decoder.index == encoder.index)
          << "index " << +index << ", distance " << distance << ", prediction " << value << ", index after "
          << +encoder.index;
    }
  }
}

}  // namespace
