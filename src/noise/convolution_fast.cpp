#include "noise/convolution_fast.h"

#include <algorithm>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "noise/convolution.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr int32_t kBlock = 32;  // outputs whose sums stay in registers

template <int32_t kCount>
VASK_BODY void ConvolveBlock(const int16_t* now, const int32_t* impulse, int16_t* out, int32_t half) {
  uint32_t sum[static_cast<size_t>(kCount)] = {};
  for (int32_t t = -half; t <= half; ++t) {
    const int32_t high = impulse[half + t] >> 16, low = impulse[half + t] & 0xffff;
    if (high == 0 && low == 0) continue;
    const int16_t* s = now - t;
    for (int32_t i = 0; i < kCount; ++i) {
      sum[i] += static_cast<uint32_t>((high * s[i] + ((low * s[i]) >> 16)) >> 14);
    }
  }
  for (int32_t i = 0; i < kCount; ++i) out[i] = Low16(sum[i]);
}

VASK_BODY void ConvolveAdjacentBody(const int16_t* now, const int32_t* impulse, std::span<int16_t> out,
                                    int32_t half) {
  const auto n = static_cast<int32_t>(out.size());
  int32_t i = 0;
  for (; i + kBlock <= n; i += kBlock) ConvolveBlock<kBlock>(now + i, impulse, out.data() + i, half);
  for (; i < n; ++i) ConvolveBlock<1>(now + i, impulse, out.data() + i, half);
}

void ConvolveAdjacentPlain(const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half) {
  Convolve(now, now - out.size(), impulse, out, half);
}

VASK_COMPILE(void, ConvolveAdjacent,
             (const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half),
             (now, impulse, out, half))

#if VASK_HAS_AVX2
constexpr int32_t kVectors = 5;  // of 16 outputs, whose sums stay in registers
constexpr int32_t kFirstTooLarge = kMax32 - (1 << 15) + 1;

// The same with the tap's lower half signed, which moves a carry to the upper one: two multiplications of
// 16-bit values keep the upper halves of sixteen products, and one adds eight pairs of products.
VASK_AVX2 void ConvolveBlockByPairs(const int16_t* now, const int32_t* impulse, int16_t* out, int32_t half) {
  __m256i sum[kVectors][2] = {};
  for (int32_t t = -half; t <= half; ++t) {
    const int32_t tap = impulse[half + t], high = (tap + (1 << 15)) >> 16;
    if (tap == 0) continue;
    const __m256i low = _mm256_set1_epi16(Low16(tap));
    const __m256i high_and_1 = _mm256_set1_epi32((1 << 16) | (high & 0xffff));
    for (int32_t i = 0; i < kVectors; ++i) {
      const __m256i s = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(now - t + 16 * i));
      const __m256i lower = _mm256_mulhi_epi16(s, low);
      const __m256i a = _mm256_madd_epi16(_mm256_unpacklo_epi16(s, lower), high_and_1);
      const __m256i b = _mm256_madd_epi16(_mm256_unpackhi_epi16(s, lower), high_and_1);
      sum[i][0] = _mm256_add_epi32(sum[i][0], _mm256_srai_epi32(a, 14));
      sum[i][1] = _mm256_add_epi32(sum[i][1], _mm256_srai_epi32(b, 14));
    }
  }
  const __m256i low16 = _mm256_set1_epi32(0xffff);
  for (int32_t i = 0; i < kVectors; ++i) {
    const __m256i samples =
        _mm256_packus_epi32(_mm256_and_si256(sum[i][0], low16), _mm256_and_si256(sum[i][1], low16));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 16 * i), samples);
  }
}

VASK_AVX2 void ConvolveAdjacentByPairs(const int16_t* now, const int32_t* impulse, std::span<int16_t> out,
                                       int32_t half) {
  int32_t largest = 0;
  for (int32_t t = 0; t <= 2 * half; ++t) largest = std::max(largest, impulse[t]);
  if (largest >= kFirstTooLarge) return ConvolveAdjacentAvx2(now, impulse, out, half);
  const auto n = static_cast<int32_t>(out.size());
  int32_t i = 0;
  for (; i + 16 * kVectors <= n; i += 16 * kVectors)
    ConvolveBlockByPairs(now + i, impulse, out.data() + i, half);
  ConvolveAdjacentAvx2(now + i, impulse, out.subspan(static_cast<size_t>(i)), half);
}
#elif VASK_HAS_NEON
VASK_BEGIN_NEON
constexpr int32_t kVectors = 8, kOutputs = 4 * kVectors;  // whose sums stay in registers
constexpr int32_t kMostHalf = 16;

// The upper half of twice the product of a tap and a doubled sample is their product / 2^30.
void ConvolveBlockNeon(const int16_t* now, const int32_t* impulse, int16_t* out, int32_t half) {
  int32_t doubled[kOutputs + 2 * kMostHalf];
  for (int32_t i = -half; i < kOutputs + half; ++i) doubled[half + i] = 2 * now[i];
  int32x4_t sum[kVectors] = {};
  for (int32_t t = -half; t <= half; ++t) {
    const int32_t tap = impulse[half + t];
    if (tap == 0) continue;
    const int32_t* s = doubled + half - t;
    for (int32_t i = 0; i < kVectors; ++i)
      sum[i] = vaddq_s32(sum[i], vqdmulhq_n_s32(vld1q_s32(s + 4 * i), tap));
  }
  for (int32_t i = 0; i < kVectors; i += 2)
    vst1q_s16(out + 4 * i, vmovn_high_s32(vmovn_s32(sum[i]), sum[i + 1]));
}

void ConvolveAdjacentNeon(const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half) {
  const auto n = static_cast<int32_t>(out.size());
  int32_t i = 0;
  for (; half <= kMostHalf && i + kOutputs <= n; i += kOutputs)
    ConvolveBlockNeon(now + i, impulse, out.data() + i, half);
  ConvolveAdjacentPortable(now + i, impulse, out.subspan(static_cast<size_t>(i)), half);
}
VASK_END_NEON
#endif

}  // namespace

VASK_PICK(void, ConvolveAdjacent,
          (const int16_t* now, const int32_t* impulse, std::span<int16_t> out, int32_t half),
          (now, impulse, out, half), ConvolveAdjacentPlain, ConvolveAdjacentPortable, ConvolveAdjacentByPairs,
          ConvolveAdjacentNeon)

}  // namespace vask
