#include "epd/detector_window.h"

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/sizes.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr int32_t kWindowShift = 4;

// Samples << 16 times Q30, upper half: samples << 14; then << 10.
int32_t WindowOne(int32_t sample, int32_t weight) { return High32(int64_t{sample} * weight) >> kWindowShift; }

void WindowEmphasizedPlain(const int32_t* samples, const int32_t* hamming, int32_t n, int32_t* out) {
  for (int32_t i = 0; i < n; ++i) out[i] = WindowOne(samples[i], hamming[i]);
}

// Unsigned shifts: those of signed 64-bit values are no instruction of SSE2 and AVX2.
void ScaleOne(int64_t& power, int32_t shift, int32_t& narrow) {
  power = static_cast<int64_t>(static_cast<uint64_t>(power) >> shift);
  narrow = LimitTo32(power);
}

void ScalePowersPlain(int64_t* power, int32_t shift, int32_t* narrow) {
  for (int32_t k = 0; k < kSpectrumBins; ++k) ScaleOne(power[k], shift, narrow[k]);
}

#if VASK_HAS_AVX2
VASK_AVX2 __m256i LoadVector(const void* x) { return _mm256_loadu_si256(static_cast<const __m256i*>(x)); }
VASK_AVX2 void StoreVector(void* x, __m256i v) { _mm256_storeu_si256(static_cast<__m256i*>(x), v); }

VASK_AVX2 void WindowEmphasizedAvx2(const int32_t* samples, const int32_t* hamming, int32_t n, int32_t* out) {
  int32_t i = 0;
  for (; i + 8 <= n; i += 8) {
    const __m256i x = LoadVector(samples + i), w = LoadVector(hamming + i);
    const __m256i even = _mm256_srli_epi64(_mm256_mul_epi32(x, w), 32);
    const __m256i odd = _mm256_mul_epi32(_mm256_srli_epi64(x, 32), _mm256_srli_epi64(w, 32));
    StoreVector(out + i, _mm256_srai_epi32(_mm256_blend_epi32(even, odd, 0xaa), kWindowShift));
  }
  for (; i < n; ++i) out[i] = WindowOne(samples[i], hamming[i]);
}

VASK_AVX2 __m256i ShiftFour(int64_t* power, __m128i shift) {
  const __m256i shifted = _mm256_srl_epi64(LoadVector(power), shift);
  StoreVector(power, shifted);
  return shifted;
}

// A power with an upper half, or with the sign bit of the lower half set, is above 2^31 - 1.
VASK_AVX2 void ScalePowersAvx2(int64_t* power, int32_t shift, int32_t* narrow) {
  const __m128i by = _mm_cvtsi32_si128(shift);
  int32_t k = 0;
  for (; k + 8 <= kSpectrumBins; k += 8) {
    const __m256 a = _mm256_castsi256_ps(ShiftFour(power + k, by));
    const __m256 b = _mm256_castsi256_ps(ShiftFour(power + k + 4, by));
    const __m256i low = _mm256_castps_si256(_mm256_shuffle_ps(a, b, 0x88));
    const __m256i high = _mm256_castps_si256(_mm256_shuffle_ps(a, b, 0xdd));
    const __m256i is_large = _mm256_cmpgt_epi32(high, _mm256_setzero_si256());
    const __m256i limited = _mm256_min_epu32(_mm256_or_si256(low, is_large), _mm256_set1_epi32(kMax32));
    StoreVector(narrow + k, _mm256_permute4x64_epi64(limited, 0xd8));
  }
  for (; k < kSpectrumBins; ++k) ScaleOne(power[k], shift, narrow[k]);
}
#elif VASK_HAS_NEON
VASK_BEGIN_NEON
constexpr int32_t kUnrolled = 16;  // values

// The doubled product's upper half is the product >> 31.
void WindowEmphasizedNeon(const int32_t* samples, const int32_t* hamming, int32_t n, int32_t* out) {
  int32_t i = 0;
  for (; i + kUnrolled <= n; i += kUnrolled) {
    for (int32_t j = i; j < i + kUnrolled; j += 4) {
      const int32x4_t product = vqdmulhq_s32(vld1q_s32(samples + j), vld1q_s32(hamming + j));
      vst1q_s32(out + j, vshrq_n_s32(product, kWindowShift + 1));
    }
  }
  for (; i < n; ++i) out[i] = WindowOne(samples[i], hamming[i]);
}

void ScalePowersNeon(int64_t* power, int32_t shift, int32_t* narrow) {
  const int64x2_t by = vdupq_n_s64(-shift);
  int32_t k = 0;
  for (; k + kUnrolled <= kSpectrumBins; k += kUnrolled) {
    for (int32_t j = k; j < k + kUnrolled; j += 4) {
      const int64x2_t low = vshlq_s64(vld1q_s64(power + j), by);
      const int64x2_t high = vshlq_s64(vld1q_s64(power + j + 2), by);
      vst1q_s64(power + j, low);
      vst1q_s64(power + j + 2, high);
      vst1q_s32(narrow + j, vcombine_s32(vqmovn_s64(low), vqmovn_s64(high)));
    }
  }
  for (; k < kSpectrumBins; ++k) ScaleOne(power[k], shift, narrow[k]);
}
VASK_END_NEON
#endif

}  // namespace

VASK_PICK(void, WindowEmphasized, (const int32_t* samples, const int32_t* hamming, int32_t n, int32_t* out),
          (samples, hamming, n, out), WindowEmphasizedPlain, WindowEmphasizedPlain, WindowEmphasizedAvx2,
          WindowEmphasizedNeon)
VASK_PICK(void, ScalePowers, (int64_t * power, int32_t shift, int32_t* narrow), (power, shift, narrow),
          ScalePowersPlain, ScalePowersPlain, ScalePowersAvx2, ScalePowersNeon)

}  // namespace vask
