// In: samples, int16, or the same << 16. Out: counts, Q16 and Q30 figures. Sums of 32 bits wrap for loud
// windows; a sum of squares that comes out negative is read as 2147483647.
#include "epd/voicing_temporal.h"

#include <vask/voicing.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "dsp/arith.h"
#include "dsp/divide.h"
#include "dsp/sizes.h"
#include "dsp/square_root.h"

namespace vask {
namespace {

constexpr int32_t kClipShareQ30 = 493921239;  // 0.46
constexpr size_t kClipEdge = 80;              // samples at either end that set the clip level
constexpr int32_t kNoAmdf = 268435455;        // no lag to look at

// Magnitude in the value's own width: the most negative value stays negative.
constexpr int16_t Magnitude16(int16_t s) { return Low16(s < 0 ? -s : s); }
constexpr int32_t Magnitude32(int32_t x) { return x < 0 ? WrapNeg(x) : x; }

// The lags that a window of n samples and the scratch arrays can hold.
constexpr Lags Within(Lags lags, int32_t most) {
  return {std::max(lags.first, 0), std::min(lags.last, most)};
}

int32_t UpperProduct(int32_t a, int32_t b) { return High32(int64_t{a} * b); }

// YIN's difference function at one lag.
int32_t SquaredDifference(std::span<const int32_t> x, int32_t lag) {
  const auto terms = static_cast<int32_t>(x.size()) - lag;
  int32_t sum = 0;
  for (int32_t i = 0; i < terms; ++i) {
    const int32_t difference = WrapSub(x.data()[i], x.data()[i + lag]);
    sum = WrapAdd(sum, UpperProduct(difference, difference));
  }
  return MaxIfNegative(sum);
}

int32_t MagnitudeDifference(std::span<const int32_t> x, int32_t lag) {
  const auto terms = static_cast<int32_t>(x.size()) - lag;
  int32_t sum = 0;
  for (int32_t i = 0; i < terms; ++i) {
    sum = WrapAdd(sum, Magnitude32(WrapSub(x.data()[i], x.data()[i + lag])));
  }
  return sum;
}

// Correlation of a with itself `lag` samples later, as a share of the two energies: Q30.
int32_t Coefficient(std::span<const int32_t> a, int32_t lag) {
  const auto terms = static_cast<int32_t>(a.size()) - lag;
  int32_t products = 0, energy_lag = 0, energy = 0;
  for (int32_t i = 0; i < terms; ++i) {
    const int32_t now = a.data()[i], later = a.data()[i + lag];
    products = WrapAdd(products, UpperProduct(later, now));
    energy_lag = WrapAdd(energy_lag, UpperProduct(later, later));
    energy = WrapAdd(energy, UpperProduct(now, now));
  }
  return CorrelationCoefficient(products, MaxIfNegative(energy_lag), MaxIfNegative(energy));
}

}  // namespace

int32_t ClippingLevel(std::span<const int16_t> s) {
  const size_t edge = std::min(kClipEdge, s.size());
  int16_t largest = 0;
  for (const auto part : {s.first(edge), s.last(edge)}) {
    for (const int16_t sample : part) largest = std::max(largest, Magnitude16(sample));
  }
  return Low32(MulShift<30>(int32_t{largest}, kClipShareQ30));
}

int32_t CenterClip(std::span<const int16_t> s, int16_t* out, int32_t level) {
  int16_t changes = 0, unchanged = kWindow;  // as after a window without a change
  for (size_t i = 0; i < s.size(); ++i) {
    out[i] = s[i] >= level ? int16_t{1} : s[i] <= WrapNeg(level) ? int16_t{-1} : int16_t{0};
    if (i == 0) continue;
    if (out[i] == out[i - 1]) {
      unchanged = Low16(unchanged + 1);
      continue;
    }
    if (unchanged > 2) changes = Low16(changes + 1);
    unchanged = 0;
  }
  return changes;
}

int32_t ZeroCrossings(std::span<const int16_t> s, int16_t* signs) {
  int32_t changes = 0;
  for (size_t i = 0; i < s.size(); ++i) {
    signs[i] = s[i] < 0 ? int16_t{-1} : int16_t{1};
    if (i > 0 && signs[i] != signs[i - 1]) ++changes;
  }
  return changes;
}

int32_t YinVoicing(std::span<const int32_t> x, Lags lags) {
  const Lags range = Within(lags, kMostLags);
  int32_t smallest = kMax32, sum = 0;
  for (int32_t lag = 0; lag <= range.last; ++lag) {
    const int32_t difference = lag == 0 ? 0 : SquaredDifference(x, lag);
    if (lag >= std::max(range.first, 1)) {
      const int32_t mean = sum / lag < 0 ? kMax32 : AtLeastOne(sum / lag);
      smallest = std::min(smallest, MaxIfNegative(Low32(int64_t{difference} * kOneQ16 / mean)));
    }
    sum = WrapAdd(sum, difference);
  }
  return std::clamp(WrapSub(kOneQ16, smallest), 0, kOneQ16);
}

int32_t AmdfMinimum(std::span<const int32_t> x, Lags lags) {
  if (lags.first > lags.last) return kNoAmdf;
  const auto n = static_cast<int32_t>(x.size());
  const Lags range = Within(lags, n - 1);
  int32_t smallest = kMax32;
  for (int32_t lag = range.first; lag <= range.last; ++lag) {
    const int32_t mean = MagnitudeDifference(x, lag) / (n - lag);
    if (mean >= 0) smallest = std::min(smallest, mean);
  }
  return smallest >> 3;
}

int32_t CorrelationCoefficient(int32_t products, int32_t energy_lag, int32_t energy) {
  int32_t norm = UpperProduct(RootQ16(energy_lag), RootQ16(energy));
  if (norm < products) {
    norm = products;  // a coefficient is at most 1
  } else if (norm <= 0) {
    return 0;
  }
  return Low32(DivideBelow2To53(int64_t{products} * kOneQ16, norm) * 16384);  // Q16 << 14 = Q30
}

void NormalizedAutocorrelation(std::span<const int32_t> a, int32_t* r, Lags lags) {
  for (int32_t lag = std::max(lags.first, 0); lag <= lags.last; ++lag) r[lag] = Coefficient(a, lag);
}

int32_t PeakValleyRatio(std::span<const int32_t> x, Lags lags) {
  std::array<int32_t, kMostLags + 1> magnitude, r;
  const Lags range = Within(lags, kMostLags);
  if (x.size() > magnitude.size() || range.first > range.last) return 0;
  std::transform(x.begin(), x.end(), magnitude.begin(), Magnitude32);
  NormalizedAutocorrelation({magnitude.data(), x.size()}, r.data(), range);
  const auto [valley, peak] = std::minmax_element(r.begin() + range.first, r.begin() + range.last + 1);
  return PeakValleyRatio(*peak, *valley);
}

int32_t PeakValleyRatio(int32_t peak, int32_t valley) {
  return Low32(int64_t{peak} * kOneQ16 / (valley >= 1 ? valley : kOneQ30));
}

}  // namespace vask

extern "C" {

int32_t clipping_level_es(const int16_t* s, int32_t n) {
  return s == nullptr || n < 1 ? 0 : vask::ClippingLevel({s, static_cast<size_t>(n)});
}

int32_t three_level_center_clipper(const int16_t* s, int16_t* out, int32_t level, int32_t n) {
  if (s == nullptr || out == nullptr || n < 1) return 0;
  return vask::CenterClip({s, static_cast<size_t>(n)}, out, level);
}

int32_t ZCR(const int16_t* s, int32_t from, int32_t to, int16_t* scratch) {
  if (s == nullptr || scratch == nullptr || from < 0 || to <= from) return 0;
  return vask::ZeroCrossings({s + from, static_cast<size_t>(to - from)}, scratch + from);
}

int32_t VoicingProEst_YIN(const int32_t* x, int32_t min_lag, int32_t max_lag, int32_t n) {
  if (x == nullptr || n < 1) return 0;
  return vask::YinVoicing({x, static_cast<size_t>(n)}, {min_lag, max_lag});
}

int32_t AMDF_MinimumEst(const int32_t* x, int32_t n, int32_t min_lag, int32_t max_lag) {
  if (x == nullptr || n < 1) return vask::kNoAmdf;
  return vask::AmdfMinimum({x, static_cast<size_t>(n)}, {min_lag, max_lag});
}

void NormalizedAutocorrelationEst(const int32_t* a, int32_t* r, int32_t n, int32_t min_lag, int32_t max_lag) {
  if (a == nullptr || r == nullptr || n < 1) return;
  vask::NormalizedAutocorrelation({a, static_cast<size_t>(n)}, r, {min_lag, max_lag});
}

int32_t PeakValleyRatioEst(const int32_t* x, int32_t min_lag, int32_t max_lag, int32_t n) {
  if (x == nullptr || n < 1) return 0;
  return vask::PeakValleyRatio({x, static_cast<size_t>(n)}, {min_lag, max_lag});
}

int32_t AMDF_MINIMUM(const int16_t* s, int32_t n, int32_t min_lag, int32_t max_lag) {
  if (s == nullptr || n < 1) return vask::kMax32;
  int32_t smallest = vask::kMax32;
  for (int32_t lag = std::max(min_lag, 0); lag <= std::min(max_lag, n - 1); ++lag) {
    int32_t sum = 0;
    for (int32_t i = 0; i < n - lag; ++i) sum += std::abs(s[i] - s[i + lag]) / (n - lag);
    smallest = std::min(smallest, sum);
  }
  return smallest;
}

}  // extern "C"
