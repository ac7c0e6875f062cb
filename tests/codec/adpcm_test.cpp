// IMA ADPCM from states that no encoder produces. tests/codec/audioop_check.py compares the bits.
#include <gtest/gtest.h>
#include <vask/adpcm.h>

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

}  // namespace
