// Gains from amplitudes: noise tracking, then a decision-directed a-priori SNR and a second pass with a floor
// of -22 dB, as in the first stage of ETSI ES 202 050. SNR quantities are Q20, gains Q30, amplitudes int64.
#include "noise/gain_design.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/float_mode.h"
#include "dsp/square_root.h"
#include "noise/gain_design_fast.h"

namespace vask {
namespace {

constexpr int64_t kOneQ20 = 1 << 20;
constexpr int32_t kSlowKeepQ30 = Q<30>(0.99);
static_assert(kSlowKeepQ30 == 1063004405);

// Share of the old noise estimate that is kept: all of it in speech; else at frame t >= 1 a plain mean of the
// first 99 frames, then 1 % new per frame.
constexpr int32_t KeepQ30(const wiener_vad& vad) {
  if (vad.vad_flag != 0) return kOneQ30;
  const int32_t t = vad.frame_count;
  return t < 100 ? kOneQ30 - kOneQ30 / std::max(t, 1) : kSlowKeepQ30;
}

// At most 2^47 - 1, so that the products below fit; the comparison looks at the upper 32 bits, signed.
constexpr int64_t Limit(int64_t x) { return High32(x) >= 32768 ? (int64_t{1} << 47) - 1 : x; }

// snr / (1 + snr), Q20 -> Q30. The shift wraps for a huge SNR; a negative quotient is a gain of 1.
constexpr int32_t WienerGainQ30(int64_t snr_q20) {
  const int64_t gain = WrapShl(snr_q20, 30) / (snr_q20 + kOneQ20);
  return gain < 0 ? kOneQ30 : Low32(gain);
}

// One bin: from its amplitudes to its gain.
int32_t BinGainQ30(int64_t mean, int64_t noise, int64_t cleaned_before) {
  const int64_t snr = WrapShl(mean, 20) / noise;
  const int64_t before = WrapShl(cleaned_before, 20) / noise;
  const int64_t above_noise = std::max<int64_t>(WrapSub(snr, kOneQ20), 0);
  const int64_t prior = std::max<int64_t>(
      WrapAdd(WrapMul(Limit(before), kOldSnrQ16) >> 16, WrapMul(Limit(above_noise), kNewSnrQ16) >> 16), 0);
  const int64_t first_gain = WienerGainQ30(prior);
  const int64_t refined = std::max(WrapMul(first_gain >> 14, Limit(snr)) >> 16, kGainFloorQ20);
  return WienerGainQ30(refined);
}

// Bins first .. end - 1.
void DesignBins(const GainSpectra& s, int32_t keep_q30, size_t first, size_t end) {
  for (size_t k = first; k < end; ++k) {
    s.noise[k] = WrapAdd(MulShift<30>(s.noise[k], keep_q30), MulShift<30>(s.mean[k], kOneQ30 - keep_q30));
    s.noise[k] = AtLeastOne(s.noise[k]);  // the SNR divides by it
    s.gain_q30[k] = BinGainQ30(s.mean[k], s.noise[k], s.cleaned[k]);
    s.cleaned[k] = MulShift<30>(s.current[k], s.gain_q30[k]);
  }
}

}  // namespace

void DesignGain(const GainSpectra& s, const wiener_vad& vad) {
  const int32_t keep_q30 = KeepQ30(vad);
  const size_t bins = s.gain_q30.size();
  for (size_t k = 0; k < bins; k += kGainBlock) {
    if (DesignModerateBlock(s, keep_q30, k)) continue;  // speed only
    DesignBins(s, keep_q30, k, std::min(k + kGainBlock, bins));
  }
}

}  // namespace vask

extern "C" void FilterCalc(int64_t* cur, int64_t* noise, int64_t* den, int64_t* mean, int32_t* gain,
                           wiener_vad* vad, int32_t n) {
  if (cur == nullptr || noise == nullptr || den == nullptr || mean == nullptr || gain == nullptr) return;
  if (vad == nullptr || n <= 0) return;
  const auto bins = static_cast<size_t>(n);
  const vask::DefaultFloatMode float_mode;
  vask::Roots({cur, bins}, cur);
  vask::Roots({mean, bins}, mean);
  vask::DesignGain({{cur, bins}, {mean, bins}, {noise, bins}, {den, bins}, {gain, bins}}, *vad);
}
