#include "epd/energy.h"

#include <vask/epd.h>

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/logarithm.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

// 31.25 Hz a bin: band edges as first and one-past-last bin.
constexpr int32_t kRobustFirst = 7, kCarFirst = 20, kRobustEnd = 200;
constexpr int32_t kLowFirst = 9, kUpperFirst = 116;

constexpr int32_t kWrappedEnergy = 1 << 22;  // 2^31 >> 9

// Sum of power[k] >> shift over first <= k < end; as soon as the sum turns negative it has overflowed.
int32_t BandSumPlain(const int32_t* power, int32_t first, int32_t end, int32_t shift) {
  int32_t sum = 0;
  for (int32_t k = first; k < end; ++k) {
    sum = WrapAdd(sum, power[k] >> shift);
    if (sum < 0) return kMax32;
  }
  return sum;
}

// Powers are not negative, so looking at the whole sum is enough; a caller's own may be negative.
VASK_BODY int32_t BandSumBody(const int32_t* power, int32_t first, int32_t end, int32_t shift) {
  int64_t sum = 0;
  int32_t bits = 0;
  for (int32_t k = first; k < end; ++k) {
    sum += power[k] >> shift;
    bits |= power[k];
  }
  return bits >= 0 ? LimitTo32(sum) : BandSumPlain(power, first, end, shift);
}

int64_t SumOfSquaresPlain(std::span<const int16_t> samples, int32_t shift) {
  int64_t sum = 0;
  for (const int16_t sample : samples) {
    const int32_t scaled = sample >> shift;
    sum += scaled * scaled;
  }
  return sum;
}

// The squares of two samples add up to at most 2^31, which is added as an unsigned value.
#if VASK_HAS_AVX2
VASK_AVX2 int64_t SumOfSquaresAvx2(std::span<const int16_t> samples, int32_t shift) {
  constexpr size_t kSamples = 16;
  const size_t whole = samples.size() / kSamples * kSamples;
  const __m128i by = _mm_cvtsi32_si128(shift);
  __m256i even = _mm256_setzero_si256(), odd = even;
  for (size_t i = 0; i < whole; i += kSamples) {
    const auto* const at = reinterpret_cast<const __m256i*>(samples.data() + i);
    const __m256i scaled = _mm256_sra_epi16(_mm256_loadu_si256(at), by);
    const __m256i pairs = _mm256_madd_epi16(scaled, scaled);
    even = _mm256_add_epi64(even, _mm256_blend_epi32(pairs, _mm256_setzero_si256(), 0xaa));
    odd = _mm256_add_epi64(odd, _mm256_srli_epi64(pairs, 32));
  }
  const __m256i all = _mm256_add_epi64(even, odd);
  const __m128i half = _mm_add_epi64(_mm256_castsi256_si128(all), _mm256_extracti128_si256(all, 1));
  return _mm_cvtsi128_si64(half) + _mm_extract_epi64(half, 1) +
         SumOfSquaresPlain(samples.subspan(whole), shift);
}
#elif VASK_HAS_NEON
VASK_BEGIN_NEON
int64_t SumOfSquaresNeon(std::span<const int16_t> samples, int32_t shift) {
  constexpr size_t kSamples = 8;
  const size_t whole = samples.size() / kSamples * kSamples;
  const int16x8_t by = vdupq_n_s16(static_cast<int16_t>(-shift));
  uint64x2_t sum = vdupq_n_u64(0);
  for (size_t i = 0; i < whole; i += kSamples) {
    const int16x8_t scaled = vshlq_s16(vld1q_s16(samples.data() + i), by);
    const int16x4_t low = vget_low_s16(scaled), high = vget_high_s16(scaled);
    sum = vpadalq_u32(sum, vreinterpretq_u32_s32(vmlal_s16(vmull_s16(low, low), high, high)));
  }
  return static_cast<int64_t>(vgetq_lane_u64(sum, 0) + vgetq_lane_u64(sum, 1)) +
         SumOfSquaresPlain(samples.subspan(whole), shift);
}
VASK_END_NEON
#endif

VASK_KERNEL(int32_t, BandSum, (const int32_t* power, int32_t first, int32_t end, int32_t shift),
            (power, first, end, shift), BandSumPlain)
VASK_PICK(int64_t, SumOfSquares, (std::span<const int16_t> samples, int32_t shift), (samples, shift),
          SumOfSquaresPlain, SumOfSquaresPlain, SumOfSquaresAvx2, SumOfSquaresNeon)

int32_t BandMean(const int32_t* power, int32_t first, int32_t end) {
  if (end <= first) return 0;
  const int32_t sum = BandSum(power, first, end, 8);
  return sum == kMax32 ? kMax32 : sum / (end - first);
}

int32_t LowerMean(const int32_t* power, int32_t bins) {
  return BandMean(power, kLowFirst, std::min(kUpperFirst, bins));
}

int32_t UpperMean(const int32_t* power, int32_t bins) { return BandMean(power, kUpperFirst, bins); }

}  // namespace

int32_t SquareEnergy(std::span<const int16_t> samples, int32_t shift) {
  // No term is negative, so the sum overflows if a part of it does.
  return LimitTo32(SumOfSquares(samples, shift));
}

int32_t NoiseRobustEnergy(const int32_t* power) { return BandSum(power, kRobustFirst, kRobustEnd, 3); }

int32_t QuantizeEnergy(int32_t energy) {
  return 16 * Log2Q16(energy < 0 ? kWrappedEnergy : (energy >> 9) + 1);
}

}  // namespace vask

extern "C" {

int32_t square_energy(const int16_t* samples, int32_t n) {
  return samples == nullptr || n < 1 ? 0 : vask::SquareEnergy({samples, static_cast<size_t>(n)});
}

int32_t noise_robust_band_energy_16kHz(const int32_t* power, int32_t /*n*/) {
  return power == nullptr ? 0 : vask::NoiseRobustEnergy(power);
}

int32_t carnoise_robust_band_energy_16kHz(const int32_t* power) {
  return power == nullptr ? 0 : vask::BandSum(power, vask::kCarFirst, vask::kRobustEnd, 3);
}

int32_t lower_band_energy(const int32_t* power, int32_t n) {
  return power == nullptr ? 0 : vask::LowerMean(power, n);
}

int32_t upper_band_energy(const int32_t* power, int32_t n) {
  return power == nullptr ? 0 : vask::UpperMean(power, n);
}

int32_t upper_lower_band_energy_ratio(const int32_t* power, int32_t n) {
  if (power == nullptr) return 0;
  const int32_t lower = vask::LowerMean(power, n), upper = vask::UpperMean(power, n);
  if (lower == 0) return vask::kOneQ16;
  return vask::MaxIfNegative(vask::Low32(int64_t{upper} * vask::kOneQ16 / lower));
}

int32_t quantized_energy(int32_t x, int32_t /*ignored1*/, int32_t /*ignored2*/, int32_t /*ignored3*/) {
  return vask::QuantizeEnergy(x);
}

}  // extern "C"
