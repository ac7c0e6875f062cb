#include "gate/matrix.h"

#include "dsp/kernel.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include <arm_neon.h>
#endif

namespace vask {
namespace {

VASK_BODY void MultiplyBody(const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums) {
  for (int32_t& sum : sums) {
    int32_t total = 0;
    for (size_t j = 0; j < x.size(); ++j) total += weights[j] * x[j];
    sum = total;
    weights += x.size();
  }
}

VASK_COMPILE(void, Multiply, (const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums),
             (weights, x, sums))

constexpr size_t kRowsAtOnce = 4;  // so that each piece of x is loaded once for four rows

#if VASK_HAS_AVX2

// 16 products, added in pairs: at most 2 * 2^22 * 2.
VASK_AVX2 inline __m256i PairsOf16(const int8_t* weights, __m256i x) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights));
  return _mm256_madd_epi16(_mm256_cvtepi8_epi16(bytes), x);
}

VASK_AVX2 void MultiplyByFourRows(const int8_t* weights, std::span<const int16_t> x,
                                  std::span<int32_t> sums) {
  const size_t columns = x.size();
  size_t row = 0;
  for (; row + kRowsAtOnce <= sums.size(); row += kRowsAtOnce, weights += kRowsAtOnce * columns) {
    __m256i a = _mm256_setzero_si256(), b = a, c = a, d = a;
    for (size_t j = 0; j < columns; j += kColumnStep) {
      const __m256i values = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x.data() + j));
      a = _mm256_add_epi32(a, PairsOf16(weights + j, values));
      b = _mm256_add_epi32(b, PairsOf16(weights + columns + j, values));
      c = _mm256_add_epi32(c, PairsOf16(weights + 2 * columns + j, values));
      d = _mm256_add_epi32(d, PairsOf16(weights + 3 * columns + j, values));
    }
    const __m256i halves = _mm256_hadd_epi32(_mm256_hadd_epi32(a, b), _mm256_hadd_epi32(c, d));
    const __m128i total = _mm_add_epi32(_mm256_castsi256_si128(halves), _mm256_extracti128_si256(halves, 1));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&sums[row]), total);
  }
  MultiplyAvx2(weights, x, sums.subspan(row));
}

#elif VASK_HAS_NEON

inline int32x4_t Add16(int32x4_t sum, const int8_t* weights, int16x8_t low, int16x8_t high) {
  const int8x16_t bytes = vld1q_s8(weights);
  const int16x8_t first = vmovl_s8(vget_low_s8(bytes)), last = vmovl_high_s8(bytes);
  sum = vmlal_s16(sum, vget_low_s16(first), vget_low_s16(low));
  sum = vmlal_high_s16(sum, first, low);
  sum = vmlal_s16(sum, vget_low_s16(last), vget_low_s16(high));
  return vmlal_high_s16(sum, last, high);
}

void MultiplyByFourRows(const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums) {
  const size_t columns = x.size();
  size_t row = 0;
  for (; row + kRowsAtOnce <= sums.size(); row += kRowsAtOnce, weights += kRowsAtOnce * columns) {
    int32x4_t a = vdupq_n_s32(0), b = a, c = a, d = a;
    for (size_t j = 0; j < columns; j += kColumnStep) {
      const int16x8_t low = vld1q_s16(x.data() + j), high = vld1q_s16(x.data() + j + 8);
      a = Add16(a, weights + j, low, high);
      b = Add16(b, weights + columns + j, low, high);
      c = Add16(c, weights + 2 * columns + j, low, high);
      d = Add16(d, weights + 3 * columns + j, low, high);
    }
    vst1q_s32(&sums[row], vpaddq_s32(vpaddq_s32(a, b), vpaddq_s32(c, d)));
  }
  MultiplyPortable(weights, x, sums.subspan(row));
}

#endif

}  // namespace

VASK_PICK(void, Multiply, (const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums),
          (weights, x, sums), MultiplyPortable, MultiplyPortable, MultiplyByFourRows, MultiplyByFourRows)

}  // namespace vask
