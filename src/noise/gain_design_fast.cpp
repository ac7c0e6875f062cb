#include "noise/gain_design_fast.h"

#include <algorithm>
#include <cmath>

#include "dsp/arith.h"
#include "dsp/cpu.h"

namespace vask {
namespace {

constexpr double kOneQ20 = 1 << 20, kTwoTo30 = 1 << 30, kTwoTo50 = kOneQ20 * kTwoTo30;
constexpr double kFloorQ20 = 83291;
constexpr double kOldSnr = 64225 / 65536.0, kNewSnr = 1311 / 65536.0;

VASK_KERNEL double WienerGainQ30(double snr_q20) {
  return kTwoTo30 + std::floor(-kTwoTo50 / (snr_q20 + kOneQ20));
}

VASK_KERNEL void GainsBody(const int64_t* mean, const int64_t* noise, const int64_t* cleaned,
                           int32_t* gain_q30) {
  for (int32_t k = 0; k < kGainBlock; ++k) {
    const double n = static_cast<int32_t>(noise[k]);
    const double snr = std::floor(static_cast<int32_t>(mean[k]) * kOneQ20 / n);
    const double before = std::floor(static_cast<int32_t>(cleaned[k]) * kOneQ20 / n);
    const double above_noise = std::max(snr - kOneQ20, 0.0);
    const double prior = std::floor(before * kOldSnr) + std::floor(above_noise * kNewSnr);
    const double first_gain_q16 = std::floor(WienerGainQ30(prior) * 0x1p-14);
    const double refined = std::max(std::floor(first_gain_q16 * snr * 0x1p-16), kFloorQ20);
    gain_q30[k] = static_cast<int32_t>(WienerGainQ30(refined));
  }
}

VASK_KERNEL bool AreModerateBody(const int64_t* mean, const int64_t* noise, const int64_t* cleaned) {
  uint64_t bits = 0;
  int64_t room = 0;
  for (int32_t k = 0; k < kGainBlock; ++k) {
    bits |= static_cast<uint64_t>(mean[k] | noise[k] | cleaned[k]);
    const auto most = static_cast<int64_t>(static_cast<uint64_t>(noise[k]) << 13);
    room |= static_cast<int64_t>(static_cast<uint64_t>(most - 1 - mean[k]) |
                                 static_cast<uint64_t>(most - 1 - cleaned[k]));
  }
  return bits < uint64_t{1} << 31 && room >= 0;
}

#if VASK_HAS_AVX2_KERNELS
VASK_AVX2 void GainsAvx2(const int64_t* mean, const int64_t* noise, const int64_t* cleaned,
                         int32_t* gain_q30) {
  GainsBody(mean, noise, cleaned, gain_q30);
}
#endif

}  // namespace

bool AreModerate(const int64_t* mean, const int64_t* noise, const int64_t* cleaned) {
  return AreModerateBody(mean, noise, cleaned);
}

void BlockGainsQ30(const int64_t* mean, const int64_t* noise, const int64_t* cleaned, int32_t* gain_q30) {
#if VASK_HAS_AVX2_KERNELS
  if (HasAvx2()) return GainsAvx2(mean, noise, cleaned, gain_q30);
#endif
  BlockGainsPortableQ30(mean, noise, cleaned, gain_q30);
}

void BlockGainsPortableQ30(const int64_t* mean, const int64_t* noise, const int64_t* cleaned,
                           int32_t* gain_q30) {
  GainsBody(mean, noise, cleaned, gain_q30);
}

}  // namespace vask
