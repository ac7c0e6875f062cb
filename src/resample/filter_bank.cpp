#include "resample/filter_bank.h"

#include <algorithm>
#include <array>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/kernel.h"
#include "dsp/tables/low_pass.h"

namespace vask {
namespace {

constexpr int32_t kOutputShift = kFilterQ - kCoarseBits;
constexpr int32_t kHalf = 1 << (kOutputShift - 1);

// In the last place of an output, to the nearest; the fine sums are cut to the coarse one's places.
VASK_BODY int16_t Output(int32_t first, int32_t second, int32_t coarse) {
  const int32_t sum = (first >> kCoarseBits) + (second >> kCoarseBits) + coarse;
  return static_cast<int16_t>(std::clamp((sum + kHalf) >> kOutputShift, INT16_MIN, INT16_MAX));
}

VASK_BODY int32_t Sum(const int16_t* coefficients, const int16_t* x, int32_t n) {
  int32_t sum = 0;
  for (int32_t t = 0; t < n; ++t) sum += coefficients[t] * x[t];
  return sum;
}

// A window's output; the number of taps is known to the compiler, so that it unrolls the sums.
template <int32_t kTaps>
VASK_BODY void RunTapsBody(const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out) {
  constexpr int32_t kFirst = FirstHalf(kTaps);
  for (int16_t& sample : out) {
    const int16_t* const fine = bank.Phase(phase);
    sample = Output(Sum(fine, x, kFirst), Sum(fine + kFirst, x + kFirst, kTaps - kFirst),
                    Sum(fine + kTaps, x + bank.centre, kCentreTaps));
    bank.Advance(phase, x);
  }
}

// The lengths that the rates have.
#define VASK_RUN_TAPS(run)                                    \
  if (bank.taps == 80) return run<80>(bank, phase, x, out);   \
  if (bank.taps == 112) return run<112>(bank, phase, x, out); \
  return run<160>(bank, phase, x, out)

VASK_BODY void RunFiltersBody(const FilterBank& bank, int32_t phase, const int16_t* x,
                              std::span<int16_t> out) {
  VASK_RUN_TAPS(RunTapsBody);
}

// The middle tap is 1/2, the other even ones are 0.
VASK_BODY void RunHalfBandBody(const int16_t* even, const int16_t* odd, std::span<int16_t> out) {
  for (size_t i = 0; i < out.size(); ++i) {
    int32_t sum = 0;
    for (size_t t = 0; t < kHalfBandQ16.size(); ++t) sum += kHalfBandQ16[t] * odd[i + t];
    const int32_t sample = ((sum >> 1) + (even[i] << 14) + (1 << 14)) >> 15;  // Q16 / 2 = Q15
    out[i] = static_cast<int16_t>(std::clamp<int32_t>(sample, INT16_MIN, INT16_MAX));
  }
}

VASK_COMPILE(void, RunFilters,
             (const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out),
             (bank, phase, x, out))
VASK_COMPILE(void, RunHalfBand, (const int16_t* even, const int16_t* odd, std::span<int16_t> out),
             (even, odd, out))

#if VASK_HAS_AVX2
constexpr int32_t kAtOnce = 8;  // outputs

VASK_AVX2 inline __m256i Load16(const int16_t* x) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x));
}

VASK_AVX2 inline void Store8(int16_t* x, __m128i values) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(x), values);
}

// The sums of eight vectors.
VASK_AVX2 inline __m256i Totals8(const __m256i* x) {
  const __m256i a = _mm256_hadd_epi32(_mm256_hadd_epi32(x[0], x[1]), _mm256_hadd_epi32(x[2], x[3]));
  const __m256i b = _mm256_hadd_epi32(_mm256_hadd_epi32(x[4], x[5]), _mm256_hadd_epi32(x[6], x[7]));
  return _mm256_add_epi32(_mm256_permute2x128_si256(a, b, 0x20), _mm256_permute2x128_si256(a, b, 0x31));
}

VASK_AVX2 inline __m128i Saturated(__m256i x) {
  return _mm_packs_epi32(_mm256_castsi256_si128(x), _mm256_extracti128_si256(x, 1));
}

using Windows = std::array<const int16_t*, kAtOnce>;

// The sums over some taps of eight windows, from `begin` on, with the same coefficients.
template <int32_t kTaps>
VASK_AVX2 VASK_BODY __m256i Sums8(const int16_t* coefficients, const Windows& windows, int64_t begin) {
  __m256i sums[kAtOnce] = {};
#pragma GCC unroll 5
  for (int32_t t = 0; t < kTaps; t += kTapStep) {
    const __m256i c = Load16(coefficients + t);
#pragma GCC unroll 8
    for (size_t i = 0; i < kAtOnce; ++i)
      sums[i] = _mm256_add_epi32(sums[i], _mm256_madd_epi16(c, Load16(windows[i] + begin + t)));
  }
  return Totals8(sums);
}

VASK_AVX2 inline __m128i Outputs8(__m256i first, __m256i second, __m256i coarse) {
  const __m256i fine =
      _mm256_add_epi32(_mm256_srai_epi32(first, kCoarseBits), _mm256_srai_epi32(second, kCoarseBits));
  const __m256i sum = _mm256_add_epi32(_mm256_add_epi32(fine, coarse), _mm256_set1_epi32(kHalf));
  return Saturated(_mm256_srai_epi32(sum, kOutputShift));
}

constexpr int32_t kFewPhases = 4;

// Let the outputs of the phases take turns.
VASK_AVX2 inline void StoreInTurns(const __m128i* outputs, int32_t phases, int16_t* out) {
  if (phases == 1) {
    Store8(out, outputs[0]);
  } else if (phases == 2) {
    Store8(out, _mm_unpacklo_epi16(outputs[0], outputs[1]));
    Store8(out + kAtOnce, _mm_unpackhi_epi16(outputs[0], outputs[1]));
  } else {
    for (int32_t p = 0; p < phases; ++p) {
      std::array<int16_t, kAtOnce> samples;
      Store8(samples.data(), outputs[p]);
      for (size_t i = 0; i < kAtOnce; ++i) out[static_cast<int32_t>(i) * phases + p] = samples[i];
    }
  }
}

// Where few phases take turns, eight outputs of the same phase share their coefficients.
template <int32_t kTaps>
VASK_AVX2 void RunByPhase(const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out) {
  constexpr int32_t kFirst = FirstHalf(kTaps);
  const int64_t step = int64_t{bank.whole_step} * bank.phases + bank.part_step;
  const size_t at_once = kAtOnce * static_cast<size_t>(bank.phases);
  size_t k = 0;
  for (; k + at_once <= out.size(); k += at_once) {
    __m128i outputs[kFewPhases];
    const int16_t* window = x;
    for (size_t p = 0; p < static_cast<size_t>(bank.phases); ++p) {
      const int16_t* const fine = bank.Phase(phase);
      Windows windows;
#pragma GCC unroll 8
      for (size_t i = 0; i < kAtOnce; ++i) windows[i] = window + static_cast<int64_t>(i) * step;
      const __m256i first = Sums8<kFirst>(fine, windows, 0);
      const __m256i second = Sums8<kTaps - kFirst>(fine + kFirst, windows, kFirst);
      const __m256i coarse = Sums8<kCentreTaps>(fine + kTaps, windows, bank.centre);
      outputs[p] = Outputs8(first, second, coarse);
      bank.Advance(phase, window);
    }
    StoreInTurns(outputs, bank.phases, &out[k]);
    x += kAtOnce * step;
  }
  RunTapsBody<kTaps>(bank, phase, x, out.subspan(k));
}

template <int32_t kTaps>
VASK_AVX2 inline __m256i Products(const int16_t* coefficients, const int16_t* x) {
  __m256i sum = _mm256_madd_epi16(Load16(coefficients), Load16(x));
#pragma GCC unroll 5
  for (int32_t t = kTapStep; t < kTaps; t += kTapStep)
    sum = _mm256_add_epi32(sum, _mm256_madd_epi16(Load16(coefficients + t), Load16(x + t)));
  return sum;
}

template <int32_t kTaps>
VASK_AVX2 void RunOneByOne(const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out) {
  constexpr int32_t kFirst = FirstHalf(kTaps);
  size_t k = 0;
  for (; k + kAtOnce <= out.size(); k += kAtOnce) {
    __m256i first[kAtOnce], second[kAtOnce], coarse[kAtOnce];
    for (int32_t i = 0; i < kAtOnce; ++i) {
      const int16_t* const fine = bank.Phase(phase);
      first[i] = Products<kFirst>(fine, x);
      second[i] = Products<kTaps - kFirst>(fine + kFirst, x + kFirst);
      coarse[i] = Products<kCentreTaps>(fine + kTaps, x + bank.centre);
      bank.Advance(phase, x);
    }
    Store8(&out[k], Outputs8(Totals8(first), Totals8(second), Totals8(coarse)));
  }
  RunTapsBody<kTaps>(bank, phase, x, out.subspan(k));
}

template <int32_t kTaps>
VASK_AVX2 void RunTapsByEights(const FilterBank& bank, int32_t phase, const int16_t* x,
                               std::span<int16_t> out) {
  (bank.phases <= kFewPhases ? RunByPhase<kTaps> : RunOneByOne<kTaps>)(bank, phase, x, out);
}

VASK_AVX2 void RunFiltersByEights(const FilterBank& bank, int32_t phase, const int16_t* x,
                                  std::span<int16_t> out) {
  if (out.size() < kAtOnce) return RunFiltersAvx2(bank, phase, x, out);
  VASK_RUN_TAPS(RunTapsByEights);
}

VASK_AVX2 void RunHalfBandByEights(const int16_t* even, const int16_t* odd, std::span<int16_t> out) {
  const __m256i before = Load16(kHalfBandQ16.data());
  const __m256i after = _mm256_zextsi128_si256(
      _mm_loadu_si128(reinterpret_cast<const __m128i*>(kHalfBandQ16.data() + kTapStep)));
  size_t k = 0;
  for (; k + kAtOnce <= out.size(); k += kAtOnce) {
    __m256i sums[kAtOnce];
#pragma GCC unroll 8
    for (size_t i = 0; i < kAtOnce; ++i) {
      sums[i] = _mm256_add_epi32(_mm256_madd_epi16(before, Load16(odd + k + i)),
                                 _mm256_madd_epi16(after, Load16(odd + k + i + kTapStep)));
    }
    const __m128i middle = _mm_loadu_si128(reinterpret_cast<const __m128i*>(even + k));
    const __m256i sum = _mm256_add_epi32(_mm256_srai_epi32(Totals8(sums), 1),
                                         _mm256_slli_epi32(_mm256_cvtepi16_epi32(middle), 14));
    Store8(&out[k], Saturated(_mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(1 << 14)), 15)));
  }
  RunHalfBandAvx2(even + k, odd + k, out.subspan(k));
}
#endif

}  // namespace

VASK_PICK(void, RunFilters, (const FilterBank& bank, int32_t phase, const int16_t* x, std::span<int16_t> out),
          (bank, phase, x, out), RunFiltersPortable, RunFiltersPortable, RunFiltersByEights,
          VASK_WITH_NEON(RunFilters))

VASK_PICK(void, RunHalfBand, (const int16_t* even, const int16_t* odd, std::span<int16_t> out),
          (even, odd, out), RunHalfBandPortable, RunHalfBandPortable, RunHalfBandByEights,
          VASK_WITH_NEON(RunHalfBand))

}  // namespace vask
