#include "gate/activation.h"

#include <algorithm>

#include "dsp/kernel.h"
#include "gate/tables/sigmoid.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
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

constexpr size_t kLanes = 8;

VASK_AVX2 inline __m256i Load8(const int32_t* x) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x));
}
VASK_AVX2 inline __m256i Widened8(const int16_t* x) {
  return _mm256_cvtepi16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x)));
}
// Held to 16 bits.
VASK_AVX2 inline void Store8(int16_t* x, __m256i values) {
  const __m128i low = _mm256_castsi256_si128(values), high = _mm256_extracti128_si256(values, 1);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(x), _mm_packs_epi32(low, high));
}
VASK_AVX2 inline __m256i Held8(__m256i values) {
  return _mm256_max_epi32(_mm256_min_epi32(values, _mm256_set1_epi32(kMost16)), _mm256_set1_epi32(kLeast16));
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
  for (; i + kLanes <= sums.size(); i += kLanes) {
    const __m256i product = ScaledSums8(Load8(&sums[i]), Load8(scale + i));
    Store8(rows_q12 + i, _mm256_add_epi32(Load8(bias_q12 + i), product));
  }
  RescaleAvx2(sums.subspan(i), scale + i, bias_q12 + i, rows_q12 + i);
}

// One load fetches an entry of the table and the next.
VASK_AVX2 inline __m256i Sigmoid8(__m256i values_q12) {
  const __m256i place = _mm256_sub_epi32(values_q12, _mm256_set1_epi32(kLeast16));
  const auto* table = reinterpret_cast<const int*>(kSigmoidQ15.data());
  const __m256i pair = _mm256_i32gather_epi32(table, _mm256_srli_epi32(place, 7), sizeof(int16_t));
  const __m256i entry = _mm256_srai_epi32(_mm256_slli_epi32(pair, 16), 16);
  const __m256i step = _mm256_sub_epi32(_mm256_srai_epi32(pair, 16), entry);
  const __m256i part = _mm256_and_si256(place, _mm256_set1_epi32(127));
  const __m256i rise = _mm256_add_epi32(_mm256_mullo_epi32(step, part), _mm256_set1_epi32(64));
  return _mm256_add_epi32(entry, _mm256_srai_epi32(rise, 7));
}

VASK_AVX2 void SigmoidsByEight(std::span<int16_t> values) {
  size_t i = 0;
  for (; i + kLanes <= values.size(); i += kLanes) Store8(&values[i], Sigmoid8(Widened8(&values[i])));
  SigmoidsAvx2(values.subspan(i));
}

VASK_AVX2 inline __m256i Tanh8(__m256i values_q12) {
  const __m256i sigmoid = Sigmoid8(Held8(_mm256_add_epi32(values_q12, values_q12)));
  const __m256i tanh = _mm256_sub_epi32(_mm256_add_epi32(sigmoid, sigmoid), _mm256_set1_epi32(2 * kHalfQ15));
  return _mm256_max_epi32(tanh, _mm256_set1_epi32(-kMost16));
}

VASK_AVX2 inline __m256i ProductQ15(__m256i a, __m256i b_q15) {
  return _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(a, b_q15), _mm256_set1_epi32(kHalfQ15)), 15);
}

VASK_AVX2 void UpdateStateByEight(const GruRows& rows, std::span<int16_t> state_q15) {
  size_t i = 0;
  for (; i + kLanes <= state_q15.size(); i += kLanes) {
    const __m256i kept = ProductQ15(Widened8(rows.from_state_q12 + i), Widened8(rows.reset_q15 + i));
    const __m256i candidate = Tanh8(Held8(_mm256_add_epi32(Widened8(rows.from_input_q12 + i), kept)));
    const __m256i distance = _mm256_sub_epi32(Widened8(&state_q15[i]), candidate);
    const __m256i moved = ProductQ15(distance, Widened8(rows.update_q15 + i));
    Store8(&state_q15[i], _mm256_add_epi32(candidate, moved));
  }
  UpdateStateAvx2({rows.reset_q15 + i, rows.update_q15 + i, rows.from_input_q12 + i, rows.from_state_q12 + i},
                  state_q15.subspan(i));
}

#endif

}  // namespace

VASK_PICK(void, Rescale, VASK_RESCALE_PARAMETERS, (sums, scale, bias_q12, rows_q12), RescalePortable,
          RescalePortable, RescaleByEight, RescalePortable)
VASK_PICK(void, Sigmoids, (std::span<int16_t> values), (values), SigmoidsPortable, SigmoidsPortable,
          SigmoidsByEight, SigmoidsPortable)
VASK_PICK(void, UpdateState, (const GruRows& rows, std::span<int16_t> state_q15), (rows, state_q15),
          UpdateStatePortable, UpdateStatePortable, UpdateStateByEight, UpdateStatePortable)

#undef VASK_RESCALE_PARAMETERS

}  // namespace vask
