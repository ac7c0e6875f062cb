#include "epd/voicing_lags.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/sizes.h"
#include "dsp/square_root.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr int32_t kVector = 16;  // samples of a 256-bit vector: terms are rounded up to whole ones
constexpr int32_t kPadded = kWindow + 2 * kVector;
constexpr int32_t kLagsAtOnce = VASK_HAS_NEON ? 4 : 2;
constexpr int32_t kLagCount = kMaxLag + 1;

// The window and its magnitudes, each followed by zeros.
struct Samples {
  alignas(32) int16_t plain[kPadded];
  alignas(32) int16_t magnitude[kPadded];  // of -32768: -32768
};

using LagValues = std::array<int32_t, kLagCount>;
using LagQuotients = std::array<double, kLagCount>;

// Sums over all pairs of samples one lag apart.
struct LagSums {
  LagValues squares;     // of differences, from lag 1
  LagValues magnitudes;  // of differences, << 16
  LagValues products;    // of magnitudes
};

// Running sums: entry i is the sum over samples 0 .. i - 1.
struct RunningSums {
  std::array<uint32_t, kPadded + 1> squares;
  std::array<uint32_t, kPadded + 1> magnitudes;
};

constexpr int32_t WholeVectors(int32_t terms) { return (terms + kVector - 1) & -kVector; }

// `read` terms have been added up, and those beyond n - lag have to be subtracted: there the later sample is
// 0 and the difference is the sample itself.
void StoreSums(const RunningSums& running, int32_t n, int32_t lag, int32_t read, uint32_t squares,
               uint32_t magnitudes, uint32_t products, LagSums& sums) {
  const auto at = static_cast<size_t>(lag), all = static_cast<size_t>(read);
  const auto terms = static_cast<size_t>(std::max(n - lag, 0));
  sums.squares[at] = static_cast<int32_t>(squares - (running.squares[all] - running.squares[terms]));
  const uint32_t extra = running.magnitudes[all] - running.magnitudes[terms];
  sums.magnitudes[at] = static_cast<int32_t>((magnitudes - extra) << 16);
  sums.products[at] = static_cast<int32_t>(products);
}

void SumLagsPortable(const Samples& x, const RunningSums& running, int32_t n, LagSums& sums) {
  for (int32_t lag = 1; lag <= kMaxLag; ++lag) {
    const int32_t read = WholeVectors(std::max(n - lag, 0));
    const int16_t *now = x.plain, *later = x.plain + lag, *mag = x.magnitude, *mag_later = x.magnitude + lag;
    uint32_t squares = 0, products = 0;
    uint16_t magnitudes = 0;
    for (int32_t i = 0; i < read; ++i) {
      const auto d = static_cast<int16_t>(now[i] - later[i]);
      squares += static_cast<uint32_t>(d * d);
      magnitudes = static_cast<uint16_t>(magnitudes + static_cast<uint16_t>(d < 0 ? -d : d));
      products += static_cast<uint32_t>(mag[i] * mag_later[i]);
    }
    StoreSums(running, n, lag, read, squares, magnitudes, products, sums);
  }
}

#if VASK_HAS_AVX2
VASK_AVX2 inline __m256i LoadVector(const int16_t* x) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(x));
}

// For each of the two vectors the sum of its eight values.
VASK_AVX2 inline void AddUp(const __m256i (&x)[kLagsAtOnce], uint32_t* sums) {
  const __m256i quarters = _mm256_hadd_epi32(x[0], x[1]);
  const __m128i halves =
      _mm_add_epi32(_mm256_castsi256_si128(quarters), _mm256_extracti128_si256(quarters, 1));
  _mm_storel_epi64(reinterpret_cast<__m128i*>(sums), _mm_hadd_epi32(halves, halves));
}

// Several lags at a time, as many as fit in the registers: they share the loads of the earlier samples.
VASK_AVX2 void SumLagsAvx2(const Samples& x, const RunningSums& running, int32_t n, LagSums& sums) {
  for (int32_t lag = 1; lag <= kMaxLag; lag += kLagsAtOnce) {
    const int32_t read = WholeVectors(std::max(n - lag, 0));
    __m256i squares[kLagsAtOnce] = {}, magnitudes[kLagsAtOnce] = {}, products[kLagsAtOnce] = {};
    for (int32_t i = 0; i < read; i += kVector) {
      const __m256i now = LoadVector(x.plain + i), mag = LoadVector(x.magnitude + i);
      for (int32_t k = 0; k < kLagsAtOnce; ++k) {
        const __m256i d = _mm256_sub_epi16(now, LoadVector(x.plain + i + lag + k));
        squares[k] = _mm256_add_epi32(squares[k], _mm256_madd_epi16(d, d));
        magnitudes[k] = _mm256_add_epi16(magnitudes[k], _mm256_abs_epi16(d));
        products[k] =
            _mm256_add_epi32(products[k], _mm256_madd_epi16(mag, LoadVector(x.magnitude + i + lag + k)));
      }
    }
    uint32_t square[kLagsAtOnce], magnitude[kLagsAtOnce], product[kLagsAtOnce];
    for (__m256i& m : magnitudes)
      m = _mm256_madd_epi16(m, _mm256_set1_epi16(1));  // right modulo 2^16, all that is used
    AddUp(squares, square);
    AddUp(magnitudes, magnitude);
    AddUp(products, product);
    for (int32_t k = 0; k < kLagsAtOnce && lag + k <= kMaxLag; ++k) {
      StoreSums(running, n, lag + k, read, square[k], magnitude[k], product[k], sums);
    }
  }
}
#elif VASK_HAS_NEON
VASK_BEGIN_NEON
// Of one lag, not yet added up across the vector. Sums of magnitudes are right modulo 2^16.
struct PartialSums {
  int32x4_t squares, products;
  int16x8_t magnitudes;
};

uint32_t SumOf(int32x4_t x) {
  const int32x2_t pairs = vadd_s32(vget_low_s32(x), vget_high_s32(x));
  return static_cast<uint32_t>(vget_lane_s32(vpadd_s32(pairs, pairs), 0));
}

void SumLagsNeon(const Samples& x, const RunningSums& running, int32_t n, LagSums& sums) {
  for (int32_t lag = 1; lag <= kMaxLag; lag += kLagsAtOnce) {
    const int32_t read = WholeVectors(std::max(n - lag, 0));
    PartialSums part[kLagsAtOnce] = {};
    for (int32_t i = 0; i < read; i += 8) {
      const int16x8_t now = vld1q_s16(x.plain + i), magnitude = vld1q_s16(x.magnitude + i);
      for (int32_t k = 0; k < kLagsAtOnce; ++k) {
        const int16x8_t d = vsubq_s16(now, vld1q_s16(x.plain + i + lag + k));
        part[k].squares = AddProducts(part[k].squares, d, d);
        part[k].magnitudes = vaddq_s16(part[k].magnitudes, vabsq_s16(d));
        part[k].products = AddProducts(part[k].products, magnitude, vld1q_s16(x.magnitude + i + lag + k));
      }
    }
    for (int32_t k = 0; k < kLagsAtOnce && lag + k <= kMaxLag; ++k) {
      StoreSums(running, n, lag + k, read, SumOf(part[k].squares), SumOf(vpaddlq_s16(part[k].magnitudes)),
                SumOf(part[k].products), sums);
    }
  }
}
VASK_END_NEON
#endif

VASK_PICK(void, SumLags, (const Samples& x, const RunningSums& running, int32_t n, LagSums& sums),
          (x, running, n, sums), SumLagsPortable, SumLagsPortable, SumLagsAvx2, SumLagsNeon)

void Load(std::span<const int16_t> window, Samples& x, RunningSums& running) {
  x = {};
  std::copy(window.begin(), window.end(), x.plain);
  uint32_t squares = 0, magnitudes = 0;
  for (size_t i = 0; i < kPadded; ++i) {
    running.squares[i] = squares;
    running.magnitudes[i] = magnitudes;
    x.magnitude[i] = Low16(std::abs(x.plain[i]));
    squares += static_cast<uint32_t>(x.plain[i] * x.plain[i]);
    magnitudes += static_cast<uint32_t>(x.magnitude[i]);
  }
  running.squares[kPadded] = squares;
  running.magnitudes[kPadded] = magnitudes;
}

// The smallest ratio as the plain form has it: every quotient narrowed to 32 bits before it is compared.
int32_t SmallestRatioNarrowed(const LagValues& difference, const LagValues& sum) {
  int32_t smallest = kMax32;
  for (size_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    const int32_t quotient = sum[lag] / static_cast<int32_t>(lag);
    const int32_t mean = quotient < 0 ? kMax32 : AtLeastOne(quotient);
    smallest = std::min(smallest, MaxIfNegative(Low32(int64_t{difference[lag]} * kOneQ16 / mean)));
  }
  return smallest;
}

// The quotients of all lags, not yet truncated: sum / lag and difference * 2^16 / mean are quotients of
// integers below 2^53, so truncation is exact, and truncating the smallest of them is enough.
VASK_BODY void YinRatiosBody(const LagValues& difference, const LagValues& sum, LagQuotients& ratio) {
  for (int32_t lag = kMinLag; lag < kLagCount; ++lag) {
    const auto i = static_cast<size_t>(lag);
    const auto quotient = static_cast<int32_t>(static_cast<double>(sum[i]) / lag);
    const int32_t mean = quotient < 0 ? kMax32 : std::max(quotient, 1);
    ratio[i] = difference[i] * 65536.0 / mean;
  }
}

VASK_BODY void AmdfMeansBody(const LagValues& sum, int32_t n, LagQuotients& mean) {
  for (int32_t lag = kMinLag; lag < kLagCount; ++lag) {
    const auto i = static_cast<size_t>(lag);
    mean[i] = sum[i] < 0 || lag >= n ? kMax32 : static_cast<double>(sum[i]) / std::max(n - lag, 1);
  }
}

VASK_KERNEL(void, YinRatios, (const LagValues& difference, const LagValues& sum, LagQuotients& ratio),
            (difference, sum, ratio), YinRatiosPortable)
VASK_KERNEL(void, AmdfMeans, (const LagValues& sum, int32_t n, LagQuotients& mean), (sum, n, mean),
            AmdfMeansPortable)

struct Extremes {
  double smallest, largest;
};

// Of the quotients of all lags, in eight independent chains.
Extremes ExtremesOf(const LagQuotients& smallest_of, const LagQuotients& largest_of) {
  constexpr size_t kChains = 8;
  double low[kChains], high[kChains];
  std::fill_n(low, kChains, smallest_of[kMinLag]);
  std::fill_n(high, kChains, largest_of[kMinLag]);
  size_t lag = kMinLag;
  for (; lag + kChains <= kLagCount; lag += kChains) {
    for (size_t c = 0; c < kChains; ++c) {
      low[c] = smallest_of[lag + c] < low[c] ? smallest_of[lag + c] : low[c];
      high[c] = largest_of[lag + c] > high[c] ? largest_of[lag + c] : high[c];
    }
  }
  for (; lag < kLagCount; ++lag) {
    low[0] = std::min(low[0], smallest_of[lag]);
    high[0] = std::max(high[0], largest_of[lag]);
  }
  return {*std::min_element(low, low + kChains), *std::max_element(high, high + kChains)};
}

// Energies of the two stretches that a lag correlates.
struct Energies {
  LagValues later, now;
};

void ReadEnergies(const RunningSums& running, int32_t n, Energies& energies) {
  const uint32_t all = running.squares[static_cast<size_t>(n)];
  for (int32_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    const auto begin = static_cast<size_t>(std::min(lag, n)), terms = static_cast<size_t>(n) - begin;
    const auto i = static_cast<size_t>(lag);
    energies.later[i] = MaxIfNegative(static_cast<int32_t>(all - running.squares[begin]));
    energies.now[i] = MaxIfNegative(static_cast<int32_t>(running.squares[terms]));
  }
}

// Bounds of every lag's coefficient in Q16, before and after it is truncated to an integer.
struct Bounds {
  LagQuotients low, high;
};

constexpr int32_t kLeastEnergy = 4096;   // for an estimate
constexpr double kWrapsBelow = -131000;  // a coefficient in Q30 would leave 32 bits

// A coefficient is products * 65536 / norm, norm = the upper half of a product of two table roots, and at
// most 65536. From an energy of 4096 on a table root is below the true one by less than 6e-7 of it (4.8e-7
// from the interpolation, the rest from truncation to Q16), and the upper half truncates by less than 1;
// roots saturate at 2^30. So norm is below root = sqrt(e1 * e2) by less than 1.3e-6 * root + 1, and
// truncation changes the quotient by less than 1. Where that does not hold the bounds are infinite.
VASK_BODY void BoundCoefficientsBody(const LagSums& sums, const Energies& energies, Bounds& bounds) {
  for (size_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    const int32_t e1 = std::min(energies.later[lag], kOneQ30), e2 = std::min(energies.now[lag], kOneQ30);
    const double root = std::sqrt(static_cast<double>(e1) * static_cast<double>(e2));
    const double over_root = 1 / std::max(root, 1.0);
    const double value = std::min(sums.products[lag] * 65536.0 * over_root, 65536.0);
    const bool holds = (std::min(e1, e2) >= kLeastEnergy) & (value > kWrapsBelow);
    const double error = holds ? std::abs(value) * (1.4e-6 + 1.01 * over_root) + 1.0 : HUGE_VAL;
    bounds.low[lag] = holds ? value - error : -HUGE_VAL;
    bounds.high[lag] = holds ? value + error : HUGE_VAL;
  }
}

VASK_KERNEL(void, BoundCoefficients, (const LagSums& sums, const Energies& energies, Bounds& bounds),
            (sums, energies, bounds), BoundCoefficientsPortable)

int32_t SmallestRatio(const LagSums& sums) {
  LagValues difference, before;  // before: the sum over smaller lags
  LagQuotients ratio;
  uint32_t sum = 0;
  for (size_t lag = 1; lag < kLagCount; ++lag) {
    difference[lag] = MaxIfNegative(sums.squares[lag]);
    before[lag] = static_cast<int32_t>(sum);
    sum += static_cast<uint32_t>(difference[lag]);
  }
  YinRatios(difference, before, ratio);
  const Extremes extremes = ExtremesOf(ratio, ratio);
  if (extremes.largest >= 0x1p31) return SmallestRatioNarrowed(difference, before);
  return static_cast<int32_t>(extremes.smallest);
}

int32_t SmallestMean(const LagSums& sums, int32_t n) {
  LagQuotients mean;
  AmdfMeans(sums.magnitudes, n, mean);
  return static_cast<int32_t>(ExtremesOf(mean, mean).smallest);
}

// Only the largest and the smallest coefficient matter: those that may be one of them are computed exactly.
int32_t PeakOverValley(const LagSums& sums, const Energies& energies, const Bounds& bounds) {
  const auto [valley_high, peak_low] = ExtremesOf(bounds.high, bounds.low);
  int32_t peak = kMin32, valley = kMax32;
  for (size_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    if (bounds.high[lag] < peak_low && bounds.low[lag] > valley_high) continue;
    const int32_t r = CorrelationCoefficient(sums.products[lag], energies.later[lag], energies.now[lag]);
    peak = std::max(peak, r);
    valley = std::min(valley, r);
  }
  return PeakValleyRatio(peak, valley);
}

LagFeatures MeasureLagsAtOnce(std::span<const int16_t> window) {
  const auto n = static_cast<int32_t>(window.size());
  Samples x;
  RunningSums running;
  LagSums sums;
  Energies energies;
  Bounds bounds;
  Load(window, x, running);
  ReadEnergies(running, n, energies);
  SumLags(x, running, n, sums);
  BoundCoefficients(sums, energies, bounds);
  return {.yin_voicing = std::clamp(WrapSub(kOneQ16, SmallestRatio(sums)), 0, kOneQ16),
          .amdf_min = SmallestMean(sums, n) >> 3,
          .peak_valley_ratio = PeakOverValley(sums, energies, bounds)};
}

LagFeatures MeasureLagsPlain(std::span<const int16_t> window) {
  constexpr Lags kLags = {kMinLag, kMaxLag};
  std::array<int32_t, kWindow> shifted;
  std::transform(window.begin(), window.end(), shifted.begin(), [](int16_t s) { return s * 65536; });
  const std::span<const int32_t> x(shifted.data(), window.size());
  return {.yin_voicing = YinVoicing(x, kLags),
          .amdf_min = AmdfMinimum(x, kLags),
          .peak_valley_ratio = PeakValleyRatio(x, kLags)};
}

}  // namespace

VASK_PICK(LagFeatures, MeasureLags, (std::span<const int16_t> window), (window), MeasureLagsPlain,
          MeasureLagsAtOnce, MeasureLagsAtOnce, MeasureLagsAtOnce)

}  // namespace vask
