// IMA ADPCM: int16 samples in, 4-bit codes out, two to a byte with the first in the high nibble; and back.
#include "codec/ima_adpcm.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace vask {
namespace {

constexpr int32_t kStepSizes[] = {
    7,    8,     9,     10,    11,    12,    13,    14,    16,    17,    19,    21,    23,    25,   28,
    31,   34,    37,    41,    45,    50,    55,    60,    66,    73,    80,    88,    97,    107,  118,
    130,  143,   157,   173,   190,   209,   230,   253,   279,   307,   337,   371,   408,   449,  494,
    544,  598,   658,   724,   796,   876,   963,   1060,  1166,  1282,  1411,  1552,  1707,  1878, 2066,
    2272, 2499,  2749,  3024,  3327,  3660,  4026,  4428,  4871,  5358,  5894,  6484,  7132,  7845, 8630,
    9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385, 24623, 27086, 29794, 32767};
constexpr int32_t kLastIndex = static_cast<int32_t>(std::size(kStepSizes)) - 1;
static_assert(kLastIndex == 88);

constexpr int32_t kSign = 8;

// By the index of the step and the magnitude of the code: small ones make the next step smaller.
constexpr auto kNextIndex = [] {
  constexpr int32_t kMoves[] = {-1, -1, -1, -1, 2, 4, 6, 8};
  std::array<std::array<uint8_t, 8>, kLastIndex + 1> next = {};
  for (int32_t i = 0; i <= kLastIndex; ++i)
    for (size_t m = 0; m < 8; ++m)
      next[static_cast<size_t>(i)][m] = static_cast<uint8_t>(std::clamp(i + kMoves[m], 0, kLastIndex));
  return next;
}();

// The state that encoder and decoder update alike.
class Predictor {
 public:
  explicit Predictor(const adpcm_state& state)
      : value_(state.valprev), index_(std::min<int32_t>(state.index, kLastIndex)) {}

  int32_t Value() const { return value_; }
  int32_t Step() const { return kStepSizes[index_]; }
  void Store(adpcm_state& state) const {
    state = {static_cast<int16_t>(value_), static_cast<uint8_t>(index_)};
  }

  // The code of the distance to the sample in quarters of a step, truncated and limited to 0 ... 7, with its
  // sign. The halves are those of the integer step, so that each bit means what Decode() adds for it. The
  // bits of a voice cannot be foreseen, so they become conditional moves, not branches.
  int32_t Encode(int16_t sample) {
    int32_t part = Step();
    const int32_t distance = sample - value_;
    const int32_t sign = distance >> 31;  // -1: downwards
    const int32_t size = (distance ^ sign) - sign;
    int32_t code = 0, rest = size;
    const int32_t least_move = part >> 3;
    for (int32_t bit = 0; bit < 3; ++bit, part >>= 1) {
      const int32_t after = rest - part;
      code = 2 * code + (after >= 0);
      rest = after >= 0 ? after : rest;
    }
    Move(code, ((least_move + size - rest) ^ sign) - sign);
    return code | (sign & kSign);
  }

  void Decode(int32_t code) {
    const int32_t step = Step();
    int32_t move = step >> 3;
    if (code & 4) move += step;
    if (code & 2) move += step >> 1;
    if (code & 1) move += step >> 2;
    Move(code & 7, code & kSign ? -move : move);
  }

 private:
  void Move(int32_t magnitude, int32_t move) {
    value_ = std::clamp(value_ + move, -32768, 32767);
    index_ = kNextIndex[static_cast<size_t>(index_)][static_cast<size_t>(magnitude)];
  }

  int32_t value_, index_;
};

}  // namespace

int32_t EncodeAdpcm(adpcm_state& state, std::span<const int16_t> in, uint8_t* out) {
  Predictor predictor(state);
  for (size_t i = 0; i + 1 < in.size(); i += 2) {
    const int32_t first = predictor.Encode(in[i]);
    out[i / 2] = static_cast<uint8_t>(first << 4 | predictor.Encode(in[i + 1]));
  }
  if (in.size() % 2 != 0) out[in.size() / 2] = static_cast<uint8_t>(predictor.Encode(in.back()) << 4);
  if (!in.empty()) predictor.Store(state);
  return predictor.Value();
}

int32_t DecodeAdpcm(adpcm_state& state, const uint8_t* in, std::span<int16_t> out) {
  Predictor predictor(state);
  for (size_t i = 0; i < out.size(); ++i) {
    predictor.Decode(i % 2 == 0 ? in[i / 2] >> 4 : in[i / 2] & 15);
    out[i] = static_cast<int16_t>(predictor.Value());
  }
  if (!out.empty()) predictor.Store(state);
  return predictor.Step();
}

}  // namespace vask

extern "C" {

int32_t adpcm_coder(const int16_t* in, uint8_t* out, int32_t n, adpcm_state* st) {
  if (st == nullptr || ((in == nullptr || out == nullptr) && n > 0)) return 0;
  return vask::EncodeAdpcm(*st, {in, static_cast<size_t>(std::max(n, 0))}, out);
}

int32_t adpcm_decoder(const uint8_t* in, int16_t* out, int32_t n, adpcm_state* st) {
  if (st == nullptr || ((in == nullptr || out == nullptr) && n > 0)) return 0;
  return vask::DecodeAdpcm(*st, in, {out, static_cast<size_t>(std::max(n, 0))});
}

}  // extern "C"
