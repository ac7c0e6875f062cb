#include "epd/voicing_lags.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "dsp/arith.h"
#include "dsp/cpu.h"
#include "dsp/divide.h"
#include "dsp/square_root.h"
#include "epd/records.h"

namespace vask {
namespace {

constexpr int32_t kVector = 16;  // samples of a 256-bit vector: terms are rounded up to whole ones
constexpr int32_t kPadded = kMaxWindow + kVector;
constexpr int32_t kLagCount = kMaxLag + 1;

// The window and its magnitudes, zeros behind them.
struct Samples {
  alignas(32) int16_t plain[kPadded];
  alignas(32) int16_t magnitude[kPadded];  // of -32768: -32768
};

// Sums over all pairs of samples one lag apart.
struct LagSums {
  std::array<int32_t, kLagCount> squares;     // of differences, from lag 1
  std::array<int32_t, kLagCount> magnitudes;  // of differences, << 16
  std::array<int32_t, kLagCount> products;    // of magnitudes
};

// Running sums: entry i is the sum over samples 0 .. i - 1.
struct RunningSums {
  std::array<uint32_t, kPadded + 1> squares;
  std::array<uint32_t, kPadded + 1> magnitudes;
};

constexpr int32_t WholeVectors(int32_t terms) { return (terms + kVector - 1) & -kVector; }

VASK_KERNEL void SumLagsBody(const Samples& x, const RunningSums& running, int32_t n, LagSums& sums) {
  for (int32_t lag = 1; lag <= kMaxLag; ++lag) {
    const int32_t terms = std::max(n - lag, 0), read = WholeVectors(terms);
    const int16_t *now = x.plain, *later = x.plain + lag, *mag = x.magnitude, *mag_later = x.magnitude + lag;
    uint32_t squares = 0, products = 0;
    uint16_t magnitudes = 0;
#if defined(__clang__)
#pragma clang loop vectorize_width(16) interleave(disable)
#endif
    for (int32_t i = 0; i < read; ++i) {
      const auto d = static_cast<int16_t>(now[i] - later[i]);
      squares += static_cast<uint32_t>(d * d);
      magnitudes = static_cast<uint16_t>(magnitudes + static_cast<uint16_t>(d < 0 ? -d : d));
      products += static_cast<uint32_t>(mag[i] * mag_later[i]);
    }
    // Beyond the terms `later` is 0 and the difference is the sample itself.
    squares -= running.squares[static_cast<size_t>(read)] - running.squares[static_cast<size_t>(terms)];
    const uint32_t extra =
        running.magnitudes[static_cast<size_t>(read)] - running.magnitudes[static_cast<size_t>(terms)];
    sums.squares[static_cast<size_t>(lag)] = static_cast<int32_t>(squares);
    sums.magnitudes[static_cast<size_t>(lag)] = static_cast<int32_t>((magnitudes - extra) << 16);
    sums.products[static_cast<size_t>(lag)] = static_cast<int32_t>(products);
  }
}

void SumLags(const Samples& x, const RunningSums& running, int32_t n, LagSums& sums) {
  SumLagsBody(x, running, n, sums);
}

#if VASK_HAS_AVX2_KERNELS
VASK_AVX2 void SumLagsAvx2(const Samples& x, const RunningSums& running, int32_t n, LagSums& sums) {
  SumLagsBody(x, running, n, sums);
}
#endif

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
int32_t SmallestRatio(const LagSums& sums) {
  uint32_t sum = 0;
  int32_t smallest = kMax32;
  for (int32_t lag = 1; lag <= kMaxLag; ++lag) {
    const int32_t difference = MaxIfNegative(sums.squares[static_cast<size_t>(lag)]);
    if (lag >= kMinLag) {
      const int32_t quotient = static_cast<int32_t>(sum) / lag;
      const int32_t mean = quotient < 0 ? kMax32 : AtLeastOne(quotient);
      // Below 2^31 * 2^16: exact by the floating-point unit.
      smallest =
          std::min(smallest, MaxIfNegative(Low32(DivideBelow2To53(int64_t{difference} * kOneQ16, mean))));
    }
    sum += static_cast<uint32_t>(difference);
  }
  return smallest;
}

int32_t SmallestMean(const LagSums& sums, int32_t n) {
  int32_t smallest = kMax32;
  for (int32_t lag = kMinLag; lag <= std::min(kMaxLag, n - 1); ++lag) {
    const int32_t sum = sums.magnitudes[static_cast<size_t>(lag)];
    if (sum >= 0) smallest = std::min(smallest, sum / (n - lag));
  }
  return smallest;
}

// Energies of the two stretches that a lag correlates.
struct Energies {
  std::array<int32_t, kLagCount> later, now;
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

// Bounds of every lag's coefficient in Q16, before it is cut to a whole number and after.
struct Bounds {
  std::array<double, kLagCount> low, high;
};

constexpr int32_t kLeastEnergy = 4096;   // for an estimate
constexpr double kWrapsBelow = -131000;  // a coefficient in Q30 would leave 32 bits

// A coefficient is products * 65536 / norm, norm = the upper half of a product of two table roots, and at
// most 65536. From an energy of 4096 on a table root lies below the true one by less than 6e-7 of it (4.8e-7
// from the interpolation, the rest from the cut to Q16), and the upper half cuts by less than 1; roots
// saturate at 2^30. So norm is below root = sqrt(e1 * e2) by less than 1.3e-6 * root + 1, and the quotient is
// cut by less than 1. Where that does not hold the bounds are infinite.
VASK_KERNEL void BoundCoefficientsBody(const LagSums& sums, const Energies& energies, Bounds& bounds) {
  for (size_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    const int32_t e1 = std::min(energies.later[lag], kOneQ30), e2 = std::min(energies.now[lag], kOneQ30);
    const double root = std::sqrt(static_cast<double>(e1) * static_cast<double>(e2));
    const double value = std::min(sums.products[lag] * 65536.0 / root, 65536.0);
    const bool holds = (std::min(e1, e2) >= kLeastEnergy) & (value > kWrapsBelow);
    const double error = holds ? std::abs(value) * (1.4e-6 + 1.01 / root) + 1.0 : HUGE_VAL;
    bounds.low[lag] = holds ? value - error : -HUGE_VAL;
    bounds.high[lag] = holds ? value + error : HUGE_VAL;
  }
}

void BoundCoefficients(const LagSums& sums, const Energies& energies, Bounds& bounds) {
  BoundCoefficientsBody(sums, energies, bounds);
}

#if VASK_HAS_AVX2_KERNELS
VASK_AVX2 void BoundCoefficientsAvx2(const LagSums& sums, const Energies& energies, Bounds& bounds) {
  BoundCoefficientsBody(sums, energies, bounds);
}
#endif

// Only the largest and the smallest coefficient matter: those that may be one of them are computed exactly.
int32_t PeakOverValley(const LagSums& sums, const Energies& energies, const Bounds& bounds) {
  double peak_low = -HUGE_VAL, valley_high = HUGE_VAL;
  for (size_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    peak_low = std::max(peak_low, bounds.low[lag]);
    valley_high = std::min(valley_high, bounds.high[lag]);
  }
  int32_t peak = kMin32, valley = kMax32;
  for (size_t lag = kMinLag; lag <= kMaxLag; ++lag) {
    if (bounds.high[lag] < peak_low && bounds.low[lag] > valley_high) continue;
    const int32_t r = CorrelationCoefficient(sums.products[lag], energies.later[lag], energies.now[lag]);
    peak = std::max(peak, r);
    valley = std::min(valley, r);
  }
  return PeakValleyRatio(peak, valley);
}

}  // namespace

LagFeatures MeasureLags(std::span<const int16_t> window) {
  const auto n = static_cast<int32_t>(window.size());
  Samples x;
  RunningSums running;
  LagSums sums;
  Energies energies;
  Bounds bounds;
  Load(window, x, running);
  ReadEnergies(running, n, energies);
#if VASK_HAS_AVX2_KERNELS
  if (HasAvx2()) {
    SumLagsAvx2(x, running, n, sums);
    BoundCoefficientsAvx2(sums, energies, bounds);
  } else
#endif
  {
    SumLags(x, running, n, sums);
    BoundCoefficients(sums, energies, bounds);
  }
  return {.yin_voicing = std::clamp(WrapSub(kOneQ16, SmallestRatio(sums)), 0, kOneQ16),
          .amdf_min = SmallestMean(sums, n) >> 3,
          .peak_valley_ratio = PeakOverValley(sums, energies, bounds)};
}

}  // namespace vask
