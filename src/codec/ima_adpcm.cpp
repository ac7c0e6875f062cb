// IMA ADPCM: int16 samples in, 4-bit codes out, two to a byte with the first in the high nibble; and back.
#include "codec/ima_adpcm.h"

#include <algorithm>
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
// Indexed by the magnitude of the code: small ones make the next step smaller.
constexpr int32_t kIndexMoves[] = {-1, -1, -1, -1, 2, 4, 6, 8};

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

  void Follow(int32_t code) {
    const int32_t step = Step();
    int32_t move = step >> 3;
    if (code & 4) move += step;
    if (code & 2) move += step >> 1;
    if (code & 1) move += step >> 2;
    value_ = std::clamp(code & kSign ? value_ - move : value_ + move, -32768, 32767);
    index_ = std::clamp(index_ + kIndexMoves[code & 7], 0, kLastIndex);
  }

 private:
  int32_t value_, index_;
};

// The distance to the sample in quarters of a step, truncated and limited to 0 ... 7, with its sign. The
// halves are those of the integer step, so that each bit means what Follow() adds for it.
int32_t CodeOf(const Predictor& predictor, int16_t sample) {
  int32_t code = 0, rest = sample - predictor.Value();
  if (rest < 0) {
    code = kSign;
    rest = -rest;
  }
  for (int32_t bit = 4, part = predictor.Step(); bit > 0; bit >>= 1, part >>= 1) {
    if (rest < part) continue;
    code |= bit;
    rest -= part;
  }
  return code;
}

}  // namespace

int32_t EncodeAdpcm(adpcm_state& state, std::span<const int16_t> in, uint8_t* out) {
  Predictor predictor(state);
  for (size_t i = 0; i < in.size(); ++i) {
    const int32_t code = CodeOf(predictor, in[i]);
    predictor.Follow(code);
    if (i % 2 == 0) {
      out[i / 2] = static_cast<uint8_t>(code << 4);
    } else {
      out[i / 2] = static_cast<uint8_t>(out[i / 2] | code);
    }
  }
  if (!in.empty()) predictor.Store(state);
  return predictor.Value();
}

int32_t DecodeAdpcm(adpcm_state& state, const uint8_t* in, std::span<int16_t> out) {
  Predictor predictor(state);
  for (size_t i = 0; i < out.size(); ++i) {
    predictor.Follow(i % 2 == 0 ? in[i / 2] >> 4 : in[i / 2] & 15);
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
