#include "gate/activation.h"

#include <algorithm>
#include <cstring>

#include "dsp/kernel.h"
#include "gate/tables/sigmoid.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr int32_t kLeast16 = -32768, kMost16 = 32767;
constexpr int32_t kHalfQ15 = 1 << 14;

VASK_BODY int32_t Held16(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, kLeast16, kMost16));
}

VASK_BODY int32_t Sigmoid(int32_t value_q12) {
  const int32_t place = value_q12 - kLeast16;
  const int16_t* entry = &kSigmoidQ15[static_cast<size_t>(place >> 7)];
  return entry[0] + (((entry[1] - entry[0]) * (place & 127) + 64) >> 7);
}

// tanh(x) = 2 sigmoid(2x) - 1.
VASK_BODY int32_t Tanh(int32_t value_q12) {
  return std::max(2 * Sigmoid(Held16(2 * value_q12)) - 2 * kHalfQ15, -kMost16);
}

VASK_BODY void RescaleBody(std::span<const int32_t> sums, const int32_t* scale, const int32_t* bias_q12,
                           int16_t* rows_q12) {
  for (size_t i = 0; i < sums.size(); ++i) {
    const int64_t product = (int64_t{sums[i]} * scale[i] + (1 << 30)) >> 31;
    rows_q12[i] = static_cast<int16_t>(Held16(bias_q12[i] + product));
  }
}

VASK_BODY void SigmoidsBody(std::span<int16_t> values) {
  for (int16_t& value : values) value = static_cast<int16_t>(Sigmoid(value));
}

VASK_BODY void UpdateStateBody(const GruRows& rows, std::span<int16_t> state_q15) {
  for (size_t i = 0; i < state_q15.size(); ++i) {
    const int32_t kept_q12 = (rows.reset_q15[i] * rows.from_state_q12[i] + kHalfQ15) >> 15;
    const int32_t candidate = Tanh(Held16(rows.from_input_q12[i] + kept_q12));
    // At most 32767 * 65534 + 2^14, which is below 2^31; between the candidate and the old state.
    const int32_t moved = (rows.update_q15[i] * (state_q15[i] - candidate) + kHalfQ15) >> 15;
    state_q15[i] = static_cast<int16_t>(candidate + moved);
  }
}

#define VASK_RESCALE_PARAMETERS \
  (std::span<const int32_t> sums, const int32_t* scale, const int32_t* bias_q12, int16_t* rows_q12)
VASK_COMPILE(void, Rescale, VASK_RESCALE_PARAMETERS, (sums, scale, bias_q12, rows_q12))
VASK_COMPILE(void, Sigmoids, (std::span<int16_t> values), (values))
VASK_COMPILE(void, UpdateState, (const GruRows& rows, std::span<int16_t> state_q15), (rows, state_q15))

#if VASK_HAS_AVX2

VASK_AVX2 inline __m256i Load8(const int32_t* x) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x));
}

// (a * b + 2^30) >> 31, whose result fits 32 bits since no sum exceeds 31: so the lower ones of the shifted
// product are all of it.
VASK_AVX2 inline __m256i ScaledSums8(__m256i a, __m256i b) {
  const __m256i half = _mm256_set1_epi64x(1 << 30);
  const __m256i even = _mm256_add_epi64(_mm256_mul_epi32(a, b), half);
  const __m256i odd =
      _mm256_add_epi64(_mm256_mul_epi32(_mm256_srli_epi64(a, 32), _mm256_srli_epi64(b, 32)), half);
  return _mm256_blend_epi32(_mm256_srli_epi64(even, 31), _mm256_slli_epi64(odd, 1), 0xaa);
}

VASK_AVX2 void RescaleByEight VASK_RESCALE_PARAMETERS {
  size_t i = 0;
  for (; i + 8 <= sums.size(); i += 8) {
    const __m256i product = ScaledSums8(Load8(&sums[i]), Load8(scale + i));
    const __m256i rows = _mm256_add_epi32(Load8(bias_q12 + i), product);
    const __m128i low = _mm256_castsi256_si128(rows), high = _mm256_extracti128_si256(rows, 1);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(rows_q12 + i), _mm_packs_epi32(low, high));
  }
  RescaleAvx2(sums.subspan(i), scale + i, bias_q12 + i, rows_q12 + i);
}

constexpr size_t kLanes = 16;

VASK_AVX2 inline __m256i Load16(const int16_t* x) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x));
}
VASK_AVX2 inline void Store16(int16_t* x, __m256i values) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(x), values);
}

// Entries of the table, each with the next, from one load for both. Loads take less time than a gather
// instruction on most processors.
VASK_AVX2 inline __m256i Pairs8(const uint16_t* a, const uint16_t* b) {
  const auto pair = [](uint16_t index) {
    int32_t both;
    std::memcpy(&both, &kSigmoidQ15[index], sizeof both);
    return both;
  };
  return _mm256_setr_epi32(pair(a[0]), pair(a[1]), pair(a[2]), pair(a[3]), pair(b[0]), pair(b[1]), pair(b[2]),
                           pair(b[3]));
}

// low + (high - low) * part / 128 = (low * (128 - part) + high * part) / 128.
VASK_AVX2 inline __m256i Interpolated8(__m256i pairs, __m256i weights) {
  return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(pairs, weights), _mm256_set1_epi32(64)), 7);
}

VASK_AVX2 inline __m256i Sigmoid16(__m256i values_q12) {
  const __m256i place = _mm256_xor_si256(values_q12, _mm256_set1_epi16(kLeast16));
  const __m256i part = _mm256_and_si256(place, _mm256_set1_epi16(127));
  const __m256i rest = _mm256_sub_epi16(_mm256_set1_epi16(128), part);
  alignas(32) uint16_t index[kLanes];
  _mm256_store_si256(reinterpret_cast<__m256i*>(index), _mm256_srli_epi16(place, 7));
  // The order in which the halves of a vector are interleaved, and put together again.
  const __m256i low = Interpolated8(Pairs8(index, index + 8), _mm256_unpacklo_epi16(rest, part));
  const __m256i high = Interpolated8(Pairs8(index + 4, index + 12), _mm256_unpackhi_epi16(rest, part));
  return _mm256_packs_epi32(low, high);
}

VASK_AVX2 void SigmoidsBySixteen(std::span<int16_t> values) {
  size_t i = 0;
  for (; i + kLanes <= values.size(); i += kLanes) Store16(&values[i], Sigmoid16(Load16(&values[i])));
  SigmoidsAvx2(values.subspan(i));
}

VASK_AVX2 inline __m256i Tanh16(__m256i values_q12) {
  const __m256i above_half =
      _mm256_sub_epi16(Sigmoid16(_mm256_adds_epi16(values_q12, values_q12)), _mm256_set1_epi16(kHalfQ15));
  return _mm256_max_epi16(_mm256_add_epi16(above_half, above_half), _mm256_set1_epi16(-kMost16));
}

// n + (z * (h - n) + 2^14) / 2^15 = (z * h + (z - 2^15) * -n + 2^14) / 2^15, z - 2^15 and -n in 16 bits.
VASK_AVX2 inline __m256i Moved8(__m256i states, __m256i shares) {
  return _mm256_srai_epi32(_mm256_add_epi32(_mm256_madd_epi16(states, shares), _mm256_set1_epi32(kHalfQ15)),
                           15);
}

VASK_AVX2 void UpdateStateBySixteen(const GruRows& rows, std::span<int16_t> state_q15) {
  size_t i = 0;
  for (; i + kLanes <= state_q15.size(); i += kLanes) {
    // The rounded upper bits of a product: (a * b + 2^14) >> 15.
    const __m256i kept = _mm256_mulhrs_epi16(Load16(rows.from_state_q12 + i), Load16(rows.reset_q15 + i));
    const __m256i candidate = Tanh16(_mm256_adds_epi16(Load16(rows.from_input_q12 + i), kept));
    const __m256i other = _mm256_sub_epi16(_mm256_setzero_si256(), candidate);
    const __m256i state = Load16(&state_q15[i]), update = Load16(rows.update_q15 + i);
    const __m256i rest = _mm256_xor_si256(update, _mm256_set1_epi16(kLeast16));
    const __m256i low = Moved8(_mm256_unpacklo_epi16(state, other), _mm256_unpacklo_epi16(update, rest));
    const __m256i high = Moved8(_mm256_unpackhi_epi16(state, other), _mm256_unpackhi_epi16(update, rest));
    Store16(&state_q15[i], _mm256_packs_epi32(low, high));
  }
  UpdateStateAvx2({rows.reset_q15 + i, rows.update_q15 + i, rows.from_input_q12 + i, rows.from_state_q12 + i},
                  state_q15.subspan(i));
}

#elif VASK_HAS_NEON
VASK_BEGIN_NEON

constexpr size_t kLanes = 8;

// The rounded upper half of a doubled product is (a * b + 2^30) >> 31, or (a * b + 2^14) >> 15 in 16 bits.

inline int16x4_t Rescaled4(const int32_t* sums, const int32_t* scale, const int32_t* bias_q12) {
  return vqmovn_s32(vaddq_s32(vqrdmulhq_s32(vld1q_s32(sums), vld1q_s32(scale)), vld1q_s32(bias_q12)));
}

void RescaleByEight VASK_RESCALE_PARAMETERS {
  size_t i = 0;
  for (; i + kLanes <= sums.size(); i += kLanes) {
    const int16x4_t low = Rescaled4(&sums[i], scale + i, bias_q12 + i);
    const int16x4_t high = Rescaled4(&sums[i + 4], scale + i + 4, bias_q12 + i + 4);
    vst1q_s16(rows_q12 + i, vcombine_s16(low, high));
  }
  RescalePortable(sums.subspan(i), scale + i, bias_q12 + i, rows_q12 + i);
}

// An entry of the table and the next, from one load.
template <int kLane>
inline int32x4_t WithPair(int32x4_t pairs, uint16_t index) {
  return vld1q_lane_s32(reinterpret_cast<const int32_t*>(&kSigmoidQ15[index]), pairs, kLane);
}

inline int32x4_t Pairs4(uint16x4_t indices) {
  int32x4_t pairs = vdupq_n_s32(0);
  pairs = WithPair<0>(pairs, vget_lane_u16(indices, 0));
  pairs = WithPair<1>(pairs, vget_lane_u16(indices, 1));
  pairs = WithPair<2>(pairs, vget_lane_u16(indices, 2));
  return WithPair<3>(pairs, vget_lane_u16(indices, 3));
}

inline int16x8_t Sigmoid8(int16x8_t values_q12) {
  const uint16x8_t place = vaddq_u16(vreinterpretq_u16_s16(values_q12), vdupq_n_u16(1 << 15));
  const uint16x8_t index = vshrq_n_u16(place, 7);
  const int16x8_t low = vreinterpretq_s16_s32(Pairs4(vget_low_u16(index)));
  const int16x8_t high = vreinterpretq_s16_s32(Pairs4(vget_high_u16(index)));
  const int16x8_t entry = vuzp1q_s16(low, high), next = vuzp2q_s16(low, high);
  const int16x8_t part = vreinterpretq_s16_u16(vandq_u16(place, vdupq_n_u16(127)));
  return vaddq_s16(entry, vrshrq_n_s16(vmulq_s16(vsubq_s16(next, entry), part), 7));
}

void SigmoidsByEight(std::span<int16_t> values) {
  size_t i = 0;
  for (; i + kLanes <= values.size(); i += kLanes) vst1q_s16(&values[i], Sigmoid8(vld1q_s16(&values[i])));
  SigmoidsPortable(values.subspan(i));
}

inline int16x8_t Tanh8(int16x8_t values_q12) {
  const int16x8_t sigmoid = Sigmoid8(vqaddq_s16(values_q12, values_q12));
  const int16x8_t tanh = vshlq_n_s16(vsubq_s16(sigmoid, vdupq_n_s16(kHalfQ15)), 1);
  return vmaxq_s16(tanh, vdupq_n_s16(-kMost16));
}

// The distance takes 17 bits, and so does what is moved; their sum with the candidate takes 16.
inline int16x4_t Moved4(int16x4_t candidate, int16x4_t state, int16x4_t update_q15) {
  const int32x4_t moved = vmulq_s32(vsubl_s16(state, candidate), vmovl_s16(update_q15));
  return vadd_s16(candidate, vmovn_s32(vrshrq_n_s32(moved, 15)));
}

void UpdateStateByEight(const GruRows& rows, std::span<int16_t> state_q15) {
  size_t i = 0;
  for (; i + kLanes <= state_q15.size(); i += kLanes) {
    const int16x8_t kept = vqrdmulhq_s16(vld1q_s16(rows.from_state_q12 + i), vld1q_s16(rows.reset_q15 + i));
    const int16x8_t candidate = Tanh8(vqaddq_s16(vld1q_s16(rows.from_input_q12 + i), kept));
    const int16x8_t state = vld1q_s16(&state_q15[i]), update = vld1q_s16(rows.update_q15 + i);
    const int16x4_t low = Moved4(vget_low_s16(candidate), vget_low_s16(state), vget_low_s16(update));
    const int16x4_t high = Moved4(vget_high_s16(candidate), vget_high_s16(state), vget_high_s16(update));
    vst1q_s16(&state_q15[i], vcombine_s16(low, high));
  }
  UpdateStatePortable(
      {rows.reset_q15 + i, rows.update_q15 + i, rows.from_input_q12 + i, rows.from_state_q12 + i},
      state_q15.subspan(i));
}

VASK_END_NEON
#endif

}  // namespace

VASK_PICK(void, Rescale, VASK_RESCALE_PARAMETERS, (sums, scale, bias_q12, rows_q12), RescalePortable,
          RescalePortable, RescaleByEight, RescaleByEight)
VASK_PICK(void, Sigmoids, (std::span<int16_t> values), (values), SigmoidsPortable, SigmoidsPortable,
          SigmoidsBySixteen, SigmoidsByEight)
VASK_PICK(void, UpdateState, (const GruRows& rows, std::span<int16_t> state_q15), (rows, state_q15),
          UpdateStatePortable, UpdateStatePortable, UpdateStateBySixteen, UpdateStateByEight)

#undef VASK_RESCALE_PARAMETERS

}  // namespace vask
