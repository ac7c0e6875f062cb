#include "gate/matrix.h"

#include "dsp/kernel.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include "dsp/neon.h"
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

// Each piece of x is loaded once for so many rows.
constexpr size_t kRowsAtOnce = 8;

#if VASK_HAS_AVX2

// 16 products, added in pairs: at most 2 * 2^22 * 2.
VASK_AVX2 inline __m256i PairsOf16(const int8_t* weights, __m256i x) {
  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(weights));
  return _mm256_madd_epi16(_mm256_cvtepi8_epi16(bytes), x);
}

// The sums of four vectors.
VASK_AVX2 inline __m128i Totals4(const __m256i* x) {
  const __m256i halves = _mm256_hadd_epi32(_mm256_hadd_epi32(x[0], x[1]), _mm256_hadd_epi32(x[2], x[3]));
  return _mm_add_epi32(_mm256_castsi256_si128(halves), _mm256_extracti128_si256(halves, 1));
}

VASK_AVX2 void MultiplyByEightRows(const int8_t* weights, std::span<const int16_t> x,
                                   std::span<int32_t> sums) {
  const size_t columns = x.size();
  size_t row = 0;
  for (; row + kRowsAtOnce <= sums.size(); row += kRowsAtOnce, weights += kRowsAtOnce * columns) {
    __m256i totals[kRowsAtOnce] = {};
    for (size_t j = 0; j < columns; j += kColumnStep) {
      const __m256i values = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x.data() + j));
#pragma GCC unroll 8
      for (size_t i = 0; i < kRowsAtOnce; ++i)
        totals[i] = _mm256_add_epi32(totals[i], PairsOf16(weights + i * columns + j, values));
    }
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&sums[row]), Totals4(totals));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(&sums[row + 4]), Totals4(totals + 4));
  }
  MultiplyAvx2(weights, x, sums.subspan(row));
}

#elif VASK_HAS_NEON
VASK_BEGIN_NEON

inline int32x4_t Add16(int32x4_t sum, const int8_t* weights, int16x8_t low, int16x8_t high) {
  const int8x16_t bytes = vld1q_s8(weights);
  return AddProducts(AddProducts(sum, vmovl_s8(vget_low_s8(bytes)), low), vmovl_high_s8(bytes), high);
}

// The sums of four vectors.
inline int32x4_t Totals4(const int32x4_t* x) {
  return vpaddq_s32(vpaddq_s32(x[0], x[1]), vpaddq_s32(x[2], x[3]));
}

void MultiplyByEightRows(const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums) {
  const size_t columns = x.size();
  size_t row = 0;
  for (; row + kRowsAtOnce <= sums.size(); row += kRowsAtOnce, weights += kRowsAtOnce * columns) {
    int32x4_t totals[kRowsAtOnce] = {};
    for (size_t j = 0; j < columns; j += kColumnStep) {
      const int16x8_t low = vld1q_s16(x.data() + j), high = vld1q_s16(x.data() + j + 8);
#pragma GCC unroll 8
      for (size_t i = 0; i < kRowsAtOnce; ++i)
        totals[i] = Add16(totals[i], weights + i * columns + j, low, high);
    }
    vst1q_s32(&sums[row], Totals4(totals));
    vst1q_s32(&sums[row + 4], Totals4(totals + 4));
  }
  MultiplyPortable(weights, x, sums.subspan(row));
}

VASK_END_NEON
#endif

}  // namespace

VASK_PICK(void, Multiply, (const int8_t* weights, std::span<const int16_t> x, std::span<int32_t> sums),
          (weights, x, sums), MultiplyPortable, MultiplyPortable, MultiplyByEightRows, MultiplyByEightRows)

}  // namespace vask
