// Speech or noise, frame by frame. In: 35 band amplitudes, int64, no fixed Q. Out: vad_flag, GSAP in Q16.
// Per band a decision-directed a-priori SNR (Ephraim, Malah 1984) gives a Gaussian likelihood ratio; their
// product over the bands gives the probability that speech is absent. Ratios are Q16. Loud speech on a
// near-silent background makes 64-bit products wrap; that is part of the result.
#include "noise/gsap.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/exponential.h"
#include "dsp/float_mode.h"
#include "dsp/ring.h"
#include "noise/gsap_fast.h"

namespace vask {
namespace {

constexpr int32_t kStartUpFrames = 20;  // the band noise is the running mean of the input
constexpr int64_t kOne = kOneQ16;
constexpr int64_t kOneQ32 = int64_t{1} << 32;  // Q32 / Q16 = Q16

constexpr int32_t kSpeechBelowQ16 = Q<16>(0.2);
constexpr int32_t kLearnAboveQ16 = Q<16>(0.35);
static_assert(kSpeechBelowQ16 == 13107 && kLearnAboveQ16 == 22937);
constexpr int32_t kKeepQ16 = Q<16>(0.9);              // least share of the old noise that is kept
constexpr int32_t kKeepMoreQ16 = kOneQ16 - kKeepQ16;  // and what a probability of 0 would add to it
static_assert(kKeepQ16 == 58982 && kKeepMoreQ16 == 6554);

constexpr int64_t kMaxExponentQ16 = 10 * kOne;
constexpr int64_t kMaxRatioQ16 = 2 * kOne;
constexpr int32_t kHangoverFrames = 14;
constexpr int32_t kRunForHangover = 3;  // a longer run of speech frames arms the hangover

// x / (1 + x), all in Q16; the divisor is 1 where x is -1 or less.
int64_t OverOnePlus(int64_t numerator_q16, int64_t x_q16) {
  return WrapShl(numerator_q16, 16) / AtLeastOne(WrapAdd(x_q16, kOne));
}

// The running mean of the first frames.
void LearnAtStart(wiener_spectrum& spectrum, std::span<const int64_t> amplitude, int32_t t) {
  const int32_t keep_q30 = kOneQ30 - kOneQ30 / t;
  for (size_t b = 0; b < amplitude.size(); ++b) {
    int64_t& noise = spectrum.noise_band[b];
    noise =
        AtLeastOne(WrapAdd(MulShift<30>(amplitude[b], kOneQ30 - keep_q30), MulShift<30>(noise, keep_q30)));
  }
}

// The mean amplitude of this frame and the previous one.
void UpdateSignal(wiener_spectrum& spectrum, std::span<const int64_t> amplitude, int32_t t) {
  for (size_t b = 0; b < amplitude.size(); ++b) {
    const int64_t* last = spectrum.ring_short[b].data;
    spectrum.sig_band[b] = AtLeastOne(t == 1 ? amplitude[b] : last[0] / 2 + last[1] / 2);
  }
}

// 1 / (1 + product of the ratios), Q16. A product that has wrapped below zero means speech for certain.
int32_t SpeechAbsence(std::span<const int64_t> ratio) {
  int64_t product = ratio[0];
  for (const int64_t r : ratio.subspan(1)) {
    product = WrapMul(product, r) >> 16;
    if (product < 0) return 0;
  }
  return static_cast<int32_t>(kOneQ32 / (product + kOne));
}

void Decide(wiener_vad& vad, int32_t gsap_q16) {
  if (gsap_q16 < kSpeechBelowQ16) {
    vad.vad_flag = 1;
    CountUp(vad.speech_run);
    return;
  }
  if (vad.speech_run > kRunForHangover) {
    vad.hangover = kHangoverFrames;
    vad.vad_flag = 1;
  } else if (vad.hangover == 0) {
    vad.vad_flag = 0;
  } else {
    --vad.hangover;
    vad.vad_flag = 1;
  }
  vad.speech_run = 0;
}

void LearnNoise(wiener_spectrum& spectrum, std::span<const int64_t> amplitude, int32_t gsap_q16) {
  const auto keep_q16 = static_cast<int32_t>(kKeepQ16 + ((kOneQ32 / (gsap_q16 + kOne) * kKeepMoreQ16) >> 16));
  for (size_t b = 0; b < amplitude.size(); ++b) {
    int64_t& noise = spectrum.noise_band[b];
    noise =
        AtLeastOne(WrapAdd(MulShift<16>(noise, keep_q16), MulShift<16>(amplitude[b], kOneQ16 - keep_q16)));
  }
}

}  // namespace

int64_t LikelihoodRatio(int64_t& noise, int64_t signal, int64_t& clean) {
  noise = AtLeastOne(noise);
  const int64_t posterior = WrapShl(signal, 16) / noise;
  const int64_t posterior_up = std::max<int64_t>(posterior, 0);
  const int64_t before = WrapShl(clean, 16) / noise;
  const int64_t prior = WrapAdd(MulShift<30>(posterior_up, kNewSnrQ30), MulShift<30>(before, kOldSnrQ30));
  const int64_t gain = OverOnePlus(prior, prior);
  const int64_t v = std::max<int64_t>(MulShiftWide<16>(gain, posterior), 0);
  clean = WrapMul(OverOnePlus(v, v), signal) >> 16;
  // Wraps, also below zero, when speech is loud and the noise faint.
  const int64_t weighted = WrapMul(posterior_up, v) >> 16;
  const int64_t e = ExpOfLikelihoodQ16(std::min(OverOnePlus(weighted, v), kMaxExponentQ16));
  const int64_t ratio = WrapMul(kOneQ32 / AtLeastOne(WrapAdd(v, kOne)), e) >> 16;
  return std::clamp<int64_t>(ratio, 1, kMaxRatioQ16);
}

void DetectSpeech(wiener_vad& vad, wiener_spectrum& spectrum, wiener_gsap_data& data,
                  std::span<const int64_t> amplitude) {
  CountUp(vad.frame_count);
  const int32_t t = vad.frame_count;
  for (size_t b = 0; b < amplitude.size(); ++b) {
    WriteRing(spectrum.ring_short[b], amplitude[b]);
    WriteRing(spectrum.ring_long[b], amplitude[b]);
  }
  if (t <= kStartUpFrames) LearnAtStart(spectrum, amplitude, std::max(t, 1));
  UpdateSignal(spectrum, amplitude, t);
  const size_t bands = amplitude.size();
  LikelihoodRatios({spectrum.noise_band, bands}, {spectrum.sig_band, bands}, spectrum.clean_band,
                   data.lratio);
  data.gsap = SpeechAbsence({data.lratio, amplitude.size()});
  if (t > kStartUpFrames) {
    Decide(vad, data.gsap);
    if (data.gsap > kLearnAboveQ16) LearnNoise(spectrum, amplitude, data.gsap);
  }
  data.vad_flag = vad.vad_flag;
}

}  // namespace vask

extern "C" void VAD_BasedOnGSAP(wiener_vad* vad, wiener_spectrum* spectrum, wiener_gsap_data* gsap_data,
                                const int64_t* x, int32_t nb) {
  if (vad == nullptr || spectrum == nullptr || gsap_data == nullptr || x == nullptr || nb < 1) return;
  if (spectrum->ring_short == nullptr || gsap_data->lratio == nullptr) return;  // never created, or released
  const vask::DefaultFloatMode float_mode;
  vask::DetectSpeech(*vad, *spectrum, *gsap_data, {x, static_cast<size_t>(nb)});
}
