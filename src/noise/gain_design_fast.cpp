#include "noise/gain_design_fast.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/divide.h"
#include "dsp/kernel.h"

namespace vask {
namespace {

constexpr double kOneQ20 = 1 << 20, kTwoTo30 = 1 << 30, kTwoTo50 = kOneQ20 * kTwoTo30;
constexpr double kFloorQ20 = kGainFloorQ20;
constexpr double kOldSnr = kOldSnrQ16 * 0x1p-16, kNewSnr = kNewSnrQ16 * 0x1p-16;

VASK_BODY double WienerGainQ30(double snr_q20) {
  return kTwoTo30 + FloorBelow2To51(-kTwoTo50 / (snr_q20 + kOneQ20));
}

VASK_BODY uint64_t ShareOf(int64_t value, int32_t share_q30) {  // both below 2^32
  return (uint64_t{static_cast<uint32_t>(value)} * static_cast<uint32_t>(share_q30)) >> 30;
}

VASK_BODY double GainQ30(double mean, double noise, double cleaned_before) {
  const double snr = FloorBelow2To51(mean * kOneQ20 / noise),
               before = FloorBelow2To51(cleaned_before * kOneQ20 / noise);
  const double above_noise = std::max(snr - kOneQ20, 0.0);
  const double prior = FloorBelow2To51(before * kOldSnr) + FloorBelow2To51(above_noise * kNewSnr);
  const double first_gain_q16 = FloorBelow2To51(WienerGainQ30(prior) * 0x1p-14);
  return WienerGainQ30(std::max(FloorBelow2To51(first_gain_q16 * snr * 0x1p-16), kFloorQ20));
}

VASK_BODY bool DesignModerateBlockBody(const GainSpectra& s, int32_t keep_q30, size_t first) {
  if (first + kGainBlock > s.gain_q30.size()) return false;
  const int64_t *mean = &s.mean[first], *current = &s.current[first];
  int64_t* __restrict noise = &s.noise[first], * __restrict cleaned = &s.cleaned[first];
  int32_t* __restrict gain_q30 = &s.gain_q30[first];
  int64_t bits = 0;
  for (size_t k = 0; k < kGainBlock; ++k) bits |= mean[k] | current[k] | noise[k] | cleaned[k];
  if (static_cast<uint64_t>(bits) >= uint64_t{1} << 31) return false;

  int32_t m[kGainBlock], n[kGainBlock], c[kGainBlock], gain[kGainBlock];
  int64_t room = 0;
  for (size_t k = 0; k < kGainBlock; ++k) {
    const uint64_t tracked = ShareOf(noise[k], keep_q30) + ShareOf(mean[k], kOneQ30 - keep_q30);
    m[k] = static_cast<int32_t>(mean[k]);
    c[k] = static_cast<int32_t>(cleaned[k]);
    n[k] = std::max(static_cast<int32_t>(tracked), 1);  // a mean of the two: below 2^31
    const int64_t end = int64_t{n[k]} << 13;
    room |= (end - 1 - mean[k]) | (end - 1 - cleaned[k]);
  }
  if (room < 0) return false;

  for (size_t k = 0; k < kGainBlock; ++k) gain[k] = static_cast<int32_t>(GainQ30(m[k], n[k], c[k]));
  for (size_t k = 0; k < kGainBlock; ++k) {
    noise[k] = n[k];
    gain_q30[k] = gain[k];
    cleaned[k] = static_cast<int64_t>(ShareOf(current[k], gain[k]));
  }
  return true;
}

bool LeaveToThePlainForm(const GainSpectra& /*spectra*/, int32_t /*keep_q30*/, size_t /*first*/) {
  return false;
}

VASK_COMPILE(bool, DesignModerateBlock, (const GainSpectra& spectra, int32_t keep_q30, size_t first),
             (spectra, keep_q30, first))

// Where rounding down is a call of a function, the plain form is faster.
#if defined(__x86_64__)
constexpr auto DesignModerateBlockIfFast = LeaveToThePlainForm;
#else
constexpr auto DesignModerateBlockIfFast = DesignModerateBlockPortable;
#endif

}  // namespace

VASK_PICK(bool, DesignModerateBlock, (const GainSpectra& spectra, int32_t keep_q30, size_t first),
          (spectra, keep_q30, first), LeaveToThePlainForm, DesignModerateBlockIfFast, DesignModerateBlockAvx2,
          DesignModerateBlockPortable)

}  // namespace vask
