#include "epd/energy.h"

#include <vask/epd.h>

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/logarithm.h"

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

VASK_BODY int64_t SumOfSquaresBody(std::span<const int16_t> samples, int32_t shift) {
  int64_t sum = 0;
  for (const int16_t sample : samples) {
    const int32_t scaled = sample >> shift;
    sum += scaled * scaled;
  }
  return sum;
}

VASK_KERNEL(int32_t, BandSum, (const int32_t* power, int32_t first, int32_t end, int32_t shift),
            (power, first, end, shift), BandSumPlain)
VASK_KERNEL(int64_t, SumOfSquares, (std::span<const int16_t> samples, int32_t shift), (samples, shift),
            SumOfSquaresPortable)

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
