// In: power spectrum, int32, 31.25 Hz a bin. Out: Q16 figures. Sums are in 32 bits and wrap if a caller's
// spectrum is too large for them.
#include "epd/voicing_spectral.h"

#include <vask/voicing.h>

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/divide.h"
#include "dsp/exponential.h"
#include "dsp/float_mode.h"
#include "dsp/kernel.h"
#include "dsp/logarithm.h"
#include "dsp/sizes.h"

namespace vask {
namespace {

constexpr int32_t kLowFirst = 9, kHighFirst = kSpectrumBins / 2 + 1;  // bins, the second above 4 kHz
constexpr int32_t kLowBins = kHighFirst - kLowFirst, kHighBins = kSpectrumBins - kHighFirst;
constexpr int32_t kLeastShareQ30 = 4211;  // 3.9e-6: keeps the logarithm off its lower end
constexpr int32_t kThirdOf32Bits = 715827882;

// Sum of (value >> shift) / divisor, each term divided separately. A sum that wraps can be taken in any
// order.
VASK_BODY int32_t SumByDivisor(std::span<const int32_t> values, int32_t shift, int32_t divisor) {
  uint32_t sum = 0;
  for (const int32_t v : values) sum += static_cast<uint32_t>((v >> shift) / divisor);
  return static_cast<int32_t>(sum);
}

int32_t SumOfSharesPlain(std::span<const int32_t> values, int32_t shift, int32_t divisor) {
  return SumByDivisor(values, shift, divisor);
}

// Divisors that the compiler knows, those of the detector's spectrum, need no division.
VASK_BODY int32_t SumOfSharesBody(std::span<const int32_t> values, int32_t shift, int32_t divisor) {
  if (divisor == kLowBins) return SumByDivisor(values, shift, kLowBins);
  if (divisor == kHighBins) return SumByDivisor(values, shift, kHighBins);
  return SumByDivisor(values, shift, divisor);
}

VASK_KERNEL(int32_t, SumOfShares, (std::span<const int32_t> values, int32_t shift, int32_t divisor),
            (values, shift, divisor), SumOfSharesPlain)

std::span<const int32_t> Slice(std::span<const int32_t> values, size_t first, size_t end) {
  end = std::min(end, values.size());
  return first < end ? values.subspan(first, end - first) : std::span<const int32_t>();
}

VASK_BODY void MeansByWidth(const int32_t* power, int32_t bands, int32_t width, int32_t* mean) {
  for (int32_t b = 0; b < bands; ++b) {
    mean[b] = SumByDivisor({power + b * width, static_cast<size_t>(width)}, 0, width);
  }
}

// Means of `bands` bands of equal width; the bins left over are not used.
void BandMeansPlain(std::span<const int32_t> power, int32_t bands, int32_t* mean) {
  const auto width = static_cast<int32_t>(power.size()) / bands;
  if (width > 0) return MeansByWidth(power.data(), bands, width, mean);
  std::fill_n(mean, bands, 0);
}

// These widths, those of the detector's bands, need no division either.
VASK_BODY void BandMeansBody(std::span<const int32_t> power, int32_t bands, int32_t* mean) {
  const auto width = static_cast<int32_t>(power.size()) / bands;
  if (width == 4) return MeansByWidth(power.data(), bands, 4, mean);
  if (width == 8) return MeansByWidth(power.data(), bands, 8, mean);
  BandMeansPlain(power, bands, mean);
}

VASK_KERNEL(void, BandMeans, (std::span<const int32_t> power, int32_t bands, int32_t* mean),
            (power, bands, mean), BandMeansPlain)

// -10/60 ln(geometric over arithmetic mean), Q16, not limited. Each value is raised to exponent_q30 =
// 1/count.
int32_t FlatnessFigure(std::span<const int32_t> values, int32_t exponent_q30) {
  int32_t geometric_q6 = PowQ6(values[0], exponent_q30);
  for (const int32_t v : values.subspan(1)) {
    geometric_q6 = Low32(MulShift<6>(PowQ6(v, exponent_q30), geometric_q6));
  }
  const int32_t sum = SumOfShares(values, 0, static_cast<int32_t>(values.size()));
  const int32_t arithmetic = sum < 0 ? kMax32 : AtLeastOne(sum);
  const int32_t flatness_q30 = Low32((int64_t{MaxIfNegative(geometric_q6)} << 24) / arithmetic);  // Q6 -> Q30
  const int32_t log_q16 = NaturalLogOfFractionQ26(flatness_q30 < 0 ? kOneQ30 : flatness_q30) >> 10;
  return -(log_q16 * 10 / 60);
}

// A negative figure counts as fully tonal.
int32_t LimitTonality(int32_t figure) { return figure < 0 || figure > kOneQ16 ? kOneQ16 : figure; }

int32_t Variance(int32_t a, int32_t b, int32_t c) {
  const int32_t mean = WrapAdd(WrapAdd(a, b), c) / 3;
  int32_t sum = 0;
  for (const int32_t value : {a, b, c}) {
    const int32_t distance = WrapSub(value, mean);
    sum = WrapAdd(sum, Low32(MulShift<16>(distance, distance)));
  }
  return sum < 0 ? kThirdOf32Bits : sum / 3;
}

// The weight of a band from means of at least 1: the variance of its neighbourhood's ratios of the smallest
// mean to theirs, Q16; the outermost bands stand in for their missing neighbours.
void WeighBandsPlain(const int32_t* band, int32_t bands, int32_t* weight) {
  const int64_t smallest = *std::min_element(band, band + bands);
  const auto ratio = [&](int32_t b) {
    return static_cast<int32_t>(smallest * kOneQ16 / band[std::clamp(b, 0, bands - 1)]);
  };
  for (int32_t b = 0; b < bands; ++b) weight[b] = Variance(ratio(b - 1), ratio(b), ratio(b + 1));
}

// Three ratios of 0 to 65536 are at most 43691 from their mean, so a square fits 31 bits and no sum wraps.
VASK_BODY void WeighBandsBody(const int32_t* band, int32_t bands, int32_t* weight) {
  if (bands != kEntropyBands) return WeighBandsPlain(band, bands, weight);
  uint32_t ratios[kEntropyBands + 2];  // of band b: entry b + 1
  int32_t smallest = kMax32;
  for (int32_t b = 0; b < kEntropyBands; ++b) smallest = std::min(smallest, band[b]);
  const double smallest_q16 = smallest * 65536.0;
  for (int32_t b = 0; b < kEntropyBands; ++b) {
    ratios[b + 1] = static_cast<uint32_t>(static_cast<int32_t>(smallest_q16 / band[b]));  // below 2^53: exact
  }
  ratios[0] = ratios[1];
  ratios[kEntropyBands + 1] = ratios[kEntropyBands];
  for (int32_t b = 0; b < kEntropyBands; ++b) {
    const uint32_t three[] = {ratios[b], ratios[b + 1], ratios[b + 2]};
    const uint32_t mean = (three[0] + three[1] + three[2]) / 3;
    uint32_t sum = 0;
    for (const uint32_t ratio : three) sum += ((ratio - mean) * (ratio - mean)) >> 16;
    weight[b] = static_cast<int32_t>(sum / 3);
  }
}

VASK_KERNEL(void, WeighBands, (const int32_t* band, int32_t bands, int32_t* weight), (band, bands, weight),
            WeighBandsPlain)

int32_t WeightedEntropy(std::span<int32_t> p, const int32_t* weight) {
  int32_t sum = 0;
  for (const int32_t v : p) sum = WrapAdd(sum, v);
  const int32_t total = sum < 0 ? kMax32 : AtLeastOne(sum);
  int32_t entropy = 0;
  for (size_t b = 0; b < p.size(); ++b) {
    const bool is_share = p[b] >= 0 && p[b] <= total;  // unless a sum has wrapped
    const int64_t share = is_share ? DivideQ30(p[b], total) : int64_t{p[b]} * kOneQ30 / total;
    p[b] = std::max(Low32(share), kLeastShareQ30);
    const int64_t p_log_p = MulShift<32>(p[b], NaturalLogOfFractionQ26(p[b])) >> 8;  // Q30 * Q26 >> 40 = Q16
    entropy = WrapAdd(entropy, Low32((p_log_p * weight[b]) >> 16));
  }
  return entropy;
}

}  // namespace

int32_t HighToLowRatio(std::span<const int32_t> power) {
  const auto high_bins = static_cast<int32_t>(power.size()) - kHighFirst;
  const int32_t high = high_bins < 1 ? 0 : SumOfShares(Slice(power, kHighFirst, power.size()), 8, high_bins);
  const int32_t low = SumOfShares(Slice(power, kLowFirst, kHighFirst), 8, kLowBins);
  const int32_t divisor = low < 0 ? kMax32 : AtLeastOne(low);
  return Low32(int64_t{MaxIfNegative(high)} * kOneQ16 / divisor);
}

int32_t BandTonality(std::span<const int32_t> power, int32_t bands, int32_t* work) {
  BandMeans(power, bands, work);
  return LimitTonality(FlatnessFigure({work, static_cast<size_t>(bands)}, kOneQ30 / bands));
}

int32_t WeightedBandEntropy(std::span<const int32_t> power, int32_t bands, int32_t* band, int32_t* weight) {
  BandMeans(power, bands, band);
  for (int32_t b = 0; b < bands; ++b) band[b] = band[b] < 0 ? kMax32 : AtLeastOne(band[b]);
  WeighBands(band, bands, weight);
  return WeightedEntropy({band, static_cast<size_t>(bands)}, weight);
}

}  // namespace vask

extern "C" {

int32_t High2LowBandEnergyRatioEst(const int32_t* P, int32_t n) {
  return P == nullptr || n < 1 ? 0 : vask::HighToLowRatio({P, static_cast<size_t>(n)});
}

int32_t BP_TonalityEst(const int32_t* P, int32_t n, int32_t bands, int32_t* work) {
  if (P == nullptr || work == nullptr || n < 1 || bands < 1) return 0;
  return vask::BandTonality({P, static_cast<size_t>(n)}, bands, work);
}

int32_t bp_tonality_es(const int32_t* P, int32_t n, int32_t bands, int32_t* work) {
  if (P == nullptr || work == nullptr || n < 1 || bands < 1) return 0;
  vask::BandMeans({P, static_cast<size_t>(n)}, bands, work);
  constexpr int32_t kOneOver32Q30 = 33554432;  // whatever the number of bands
  return std::min(vask::FlatnessFigure({work, static_cast<size_t>(bands)}, kOneOver32Q30), vask::kOneQ16);
}

int32_t tonality_es(const int32_t* P, int32_t n) {
  if (P == nullptr || n < 1) return 0;
  constexpr int32_t kOneOverBinsQ30 = vask::kOneQ30 / vask::kSpectrumBins;  // whatever the number of values
  static_assert(kOneOverBinsQ30 == 4177983);
  return std::min(vask::FlatnessFigure({P, static_cast<size_t>(n)}, kOneOverBinsQ30), vask::kOneQ16);
}

int32_t WeightedBandPartitioningSpectralEntropyEst(const int32_t* P, int32_t n, int32_t bands, int32_t* band,
                                                   int32_t* weight) {
  if (P == nullptr || band == nullptr || weight == nullptr || n < 1 || bands < 1) return 0;
  const vask::DefaultFloatMode float_mode;
  return vask::WeightedBandEntropy({P, static_cast<size_t>(n)}, bands, band, weight);
}

int32_t WeightedSpectralEntropyEst(int32_t* p, int32_t n, const int32_t* weight) {
  if (p == nullptr || weight == nullptr || n < 1) return 0;
  const vask::DefaultFloatMode float_mode;
  return vask::WeightedEntropy({p, static_cast<size_t>(n)}, weight);
}

int32_t VarianceEst(int32_t a, int32_t b, int32_t c) { return vask::Variance(a, b, c); }

}  // extern "C"
