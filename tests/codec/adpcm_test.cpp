// IMA ADPCM: known streams, the encoder's and the decoder's way through them, states of every kind.
#include <gtest/gtest.h>
#include <vask/adpcm.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

using Samples = std::vector<int16_t>;
using Bytes = std::vector<uint8_t>;

Samples Noise(size_t n, uint32_t seed) {
  std::mt19937 random(seed);
  Samples samples(n);
  for (size_t i = 0; i < n; ++i) samples[i] = static_cast<int16_t>(random() >> 16) >> (i / 500 % 12);
  return samples;
}

TEST(Adpcm, GivesTheBytesOfOtherEncoders) {
  struct Case {
    Samples in;
    Bytes out;
    int valprev, index;
  };
  for (const Case& c :
       {Case{{0, 0}, {0x00}, 0, 0}, Case{{1000}, {0x70}, 11, 8},
        // 1000: 0 + 7 / 8 + 7 + 7 / 2 + 7 / 4, each cut. The long one: audioop.lin2adpcm of Python 3.11
        Case{{0, 1000, -1000, 32767, -32768, 32767, 32767, 5, -7, 120, 3000, 2900, 2950, -20000, 12, 13},
             {0x07, 0xf7, 0xf7, 0x7c, 0x81, 0x73, 0x0f, 0x88},
             40,
             60}}) {
    adpcm_state state = {};
    Bytes out(c.out.size(), 0xee);
    EXPECT_EQ(adpcm_coder(c.in.data(), out.data(), static_cast<int32_t>(c.in.size()), &state), c.valprev);
    EXPECT_EQ(out, c.out);
    EXPECT_EQ(state.valprev, c.valprev);
    EXPECT_EQ(state.index, c.index);
  }
}

TEST(Adpcm, DecoderFollowsTheEncoderFromEveryState) {
  const Samples in = Noise(6000, 3);
  for (int index = 0; index <= 88; index += 11) {
    adpcm_state encoder = {static_cast<int16_t>(700 * index - 32768), static_cast<uint8_t>(index)};
    adpcm_state decoder = encoder;
    for (size_t i = 0; i < in.size(); ++i) {
      uint8_t code = 0;
      int16_t heard = 0;
      const int32_t value = adpcm_coder(&in[i], &code, 1, &encoder);
      adpcm_decoder(&code, &heard, 1, &decoder);
      ASSERT_EQ(heard, value) << "sample " << i << " from index " << index;
      ASSERT_EQ(decoder.index, encoder.index) << "sample " << i << " from index " << index;
    }
  }
}

TEST(Adpcm, MayBeCutBetweenTwoBytes) {
  const Samples in = Noise(1001, 5);
  Bytes whole(501), pieces(501);
  adpcm_state a = {}, b = {};
  adpcm_coder(in.data(), whole.data(), 1001, &a);
  for (int32_t at = 0, n = 2; at < 1001; at += n, n += 2) {
    adpcm_coder(&in[static_cast<size_t>(at)], &pieces[static_cast<size_t>(at / 2)], std::min(n, 1001 - at),
                &b);
  }
  EXPECT_EQ(pieces, whole);
  EXPECT_EQ(whole.back() & 15, 0);  // half a byte is left
}

TEST(Adpcm, StepsStayInTheTable) {
  struct Case {
    int16_t even, odd;
    int index;
  };
  for (const Case& c : {Case{32767, -32768, 88}, Case{0, 0, 0}}) {
    adpcm_state state = {};
    const int16_t in[2] = {c.even, c.odd};
    uint8_t code = 0;
    for (int i = 0; i < 200; ++i) adpcm_coder(in, &code, 2, &state);
    EXPECT_EQ(state.index, c.index);
  }
}

TEST(Adpcm, TakesAnIndexBeyondTheTableAsItsLast) {
  const Samples in = Noise(64, 9);
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

TEST(Adpcm, DoesNothingWithoutSamplesOrPlaces) {
  adpcm_state state = {-1234, 56};
  int16_t sample = 77;
  uint8_t code = 0x77;
  for (const int32_t n : {0, -1, INT32_MIN}) {
    EXPECT_EQ(adpcm_coder(&sample, &code, n, &state), -1234);
    EXPECT_EQ(adpcm_decoder(&code, &sample, n, &state), 1552);
    EXPECT_EQ(adpcm_to_short(&code, &sample, n), 7);
  }
  EXPECT_EQ(adpcm_coder(nullptr, &code, 1, &state), 0);
  EXPECT_EQ(adpcm_coder(&sample, nullptr, 1, &state), 0);
  EXPECT_EQ(adpcm_coder(&sample, &code, 1, nullptr), 0);
  EXPECT_EQ(adpcm_decoder(nullptr, &sample, 1, &state), 0);
  EXPECT_EQ(adpcm_decoder(&code, nullptr, 1, &state), 0);
  EXPECT_EQ(adpcm_decoder(&code, &sample, 1, nullptr), 0);
  EXPECT_EQ(short_to_adpcm(nullptr, &code, 1), 0);
  EXPECT_EQ(adpcm_to_short(&code, nullptr, 2), 0);
  EXPECT_EQ(state.valprev, -1234);
  EXPECT_EQ(state.index, 56);
  EXPECT_EQ(sample, 77);
  EXPECT_EQ(code, 0x77);
}

TEST(Adpcm, HasAStateOfTheProcessEachWay) {
  const Samples in = Noise(400, 13);
  Bytes codes(200), wanted(200);
  Samples heard(400), expected(400);
  adpcm_state encoder = {}, decoder = {};
  for (int round = 0; round < 3; ++round) {  // the second goes on, the third starts anew
    if (round == 2) {
      refersh_adpcm_state();
      EXPECT_EQ(enc_state.valprev | enc_state.index | dec_state.valprev | dec_state.index, 0);
      encoder = decoder = {};
    }
    EXPECT_EQ(short_to_adpcm(in.data(), codes.data(), 400),
              adpcm_coder(in.data(), wanted.data(), 400, &encoder));
    EXPECT_EQ(codes, wanted) << round;
    heard[399] = expected[399] = 42;
    // 799 bytes hold 399 samples.
    EXPECT_EQ(adpcm_to_short(codes.data(), heard.data(), 799),
              adpcm_decoder(codes.data(), expected.data(), 399, &decoder));
    EXPECT_EQ(heard, expected) << round;
    EXPECT_EQ(enc_state.index, encoder.index);
    EXPECT_EQ(dec_state.valprev, decoder.valprev);
  }
}

}  // namespace
