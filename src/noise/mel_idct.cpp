#include "noise/mel_idct.h"

#include <vask/noise.h>

#include <algorithm>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/tables/mel_idct.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

void SumTapsPlain(std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows,
                  int32_t taps) {
  for (int32_t tap = 0; tap < taps; ++tap) {
    scratch[tap] = 0;
    for (size_t band = 0; band < gains.size(); ++band) {
      scratch[tap] += MulShift<30>(rows[tap][band], gains[band]);
    }
  }
}

constexpr uint64_t kBias = uint64_t{1} << 62;

// Each product is shifted separately. With 2^62 added it is positive, so the shift can be a logical one,
// which vectors have; the 2^32 that this adds to each term is subtracted at the end. At most 35 terms of at
// most 2^33 each: no overflow in 64 bits.
VASK_BODY void SumTapsBody(std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows,
                           int32_t taps) {
  for (int32_t tap = 0; tap < taps; ++tap) {
    const int32_t* row = rows[tap];
    uint64_t sum = 0;
    for (size_t band = 0; band < gains.size(); ++band) {
      sum += (static_cast<uint64_t>(int64_t{row[band]} * gains[band]) + kBias) >> 30;
    }
    scratch[tap] = static_cast<int64_t>(sum - (uint64_t{gains.size()} << 32));
  }
}

VASK_COMPILE(void, SumTaps,
             (std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows, int32_t taps),
             (gains, scratch, rows, taps))

#if VASK_HAS_AVX2 || VASK_HAS_NEON
// The engine's bands for vectors of kLanes: the last vector begins so that it ends with the last band, and
// what the previous ones have of it is 0.
template <size_t kLanes>
struct BandGains {
  static constexpr size_t kBands = kMelIdctBasisQ30.size(), kVectors = (kBands + kLanes - 1) / kLanes;
  static constexpr size_t At(size_t vector) { return std::min(vector * kLanes, kBands - kLanes); }

  explicit BandGains(std::span<const int32_t> gains) {
    for (size_t i = 0; i < kVectors * kLanes; ++i) {
      const size_t band = At(i / kLanes) + i % kLanes;
      values[i] = band < i / kLanes * kLanes ? 0 : gains[band];
    }
  }

  int32_t values[kVectors * kLanes];
};
#endif

#if VASK_HAS_AVX2
VASK_AVX2 inline __m256i Load(const int32_t* x) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x));
}

VASK_AVX2 void SumTapsOf35Bands(std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows,
                                int32_t taps) {
  using Gains = BandGains<8>;
  if (gains.size() != Gains::kBands) return SumTapsAvx2(gains, scratch, rows, taps);
  const Gains padded(gains);
  const __m256i bias = _mm256_set1_epi64x(static_cast<int64_t>(kBias));
  __m256i even[Gains::kVectors], odd[Gains::kVectors];
  for (size_t v = 0; v < Gains::kVectors; ++v) {
    even[v] = Load(padded.values + 8 * v);
    odd[v] = _mm256_srli_epi64(even[v], 32);
  }
  for (int32_t tap = 0; tap < taps; ++tap) {
    __m256i sum = _mm256_setzero_si256();
    for (size_t v = 0; v < Gains::kVectors; ++v) {
      const __m256i row = Load(rows[tap] + Gains::At(v));
      const __m256i a = _mm256_mul_epi32(row, even[v]),
                    b = _mm256_mul_epi32(_mm256_srli_epi64(row, 32), odd[v]);
      sum = _mm256_add_epi64(sum, _mm256_srli_epi64(_mm256_add_epi64(a, bias), 30));
      sum = _mm256_add_epi64(sum, _mm256_srli_epi64(_mm256_add_epi64(b, bias), 30));
    }
    const __m128i two = _mm_add_epi64(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
    const int64_t total = _mm_cvtsi128_si64(_mm_add_epi64(two, _mm_unpackhi_epi64(two, two)));
    scratch[tap] = total - (int64_t{8 * Gains::kVectors} << 32);
  }
}
#elif VASK_HAS_NEON
VASK_BEGIN_NEON
void SumTapsOf35Bands(std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows,
                      int32_t taps) {
  using Gains = BandGains<4>;
  if (gains.size() != Gains::kBands) return SumTapsPortable(gains, scratch, rows, taps);
  const Gains padded(gains);
  int32x4_t gain[Gains::kVectors];
  for (size_t v = 0; v < Gains::kVectors; ++v) gain[v] = vld1q_s32(padded.values + 4 * v);
  for (int32_t tap = 0; tap < taps; ++tap) {
    int64x2_t a = vdupq_n_s64(0), b = a;
    for (size_t v = 0; v < Gains::kVectors; ++v) {
      const int32x4_t row = vld1q_s32(rows[tap] + Gains::At(v));
      a = vsraq_n_s64(a, vmull_s32(vget_low_s32(row), vget_low_s32(gain[v])), 30);
      b = vsraq_n_s64(b, vmull_high_s32(row, gain[v]), 30);
    }
    scratch[tap] = vaddvq_s64(vaddq_s64(a, b));
  }
}
VASK_END_NEON
#endif

VASK_PICK(void, SumTaps,
          (std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows, int32_t taps),
          (gains, scratch, rows, taps), SumTapsPlain, SumTapsPortable, SumTapsOf35Bands, SumTapsOf35Bands)

}  // namespace

void CopyMelIdctBasis(std::span<int32_t* const> rows) {
  for (size_t tap = 0; tap < rows.size(); ++tap) {
    std::copy_n(kMelIdctBasisQ30[tap].begin(), rows.size(), rows[tap]);
  }
}

void MelIdct(std::span<int32_t> gains, int64_t* scratch, const int32_t* const* rows, int32_t taps) {
  SumTaps(gains, scratch, rows, taps);
  for (int32_t tap = 0; tap < taps; ++tap) gains.data()[tap] = Low32(scratch[tap]);
}

}  // namespace vask

extern "C" {

void InitMelIDCTbasis(int32_t** rows, int32_t n) {
  const auto size = static_cast<int32_t>(vask::kMelIdctBasisQ30.size());
  if (rows != nullptr && n > 0) vask::CopyMelIdctBasis({rows, static_cast<size_t>(std::min(n, size))});
}

void DoMelIDCT(int32_t* g, int64_t* scratch, int32_t** rows, int32_t nbands, int32_t ntaps) {
  if (g == nullptr || scratch == nullptr || rows == nullptr) return;
  vask::MelIdct({g, static_cast<size_t>(std::max(nbands, 0))}, scratch, rows, ntaps);
}

}  // extern "C"
