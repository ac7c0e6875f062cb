#include "listening/gains.h"

#include "dsp/kernel.h"

namespace vask {
namespace {

// Beyond it the gain is 1, rounded; and no product overflows.
constexpr float kMostSnr = 1e8f;

VASK_BODY float Smaller(float a, float b) { return a < b ? a : b; }
VASK_BODY float Larger(float a, float b) { return a > b ? a : b; }

VASK_BODY void PowerOfBinsBody(const FloatSpectrum& spectrum, BinValues& power) {
  for (size_t k = 0; k < kPaddedBins; ++k)
    power[k] = spectrum.re[k] * spectrum.re[k] + spectrum.im[k] * spectrum.im[k];
}

// The first step is decision-directed: the SNR is the previous frame's, with a little of this one's. Its
// gain lags by a frame at onsets, so the second step takes the SNR that the first one leaves of this frame:
// snr = (prior / (1 + prior))^2 * heard. Both gains in one division.
VASK_BODY void WeighBinsBody(const GainRule& rule, const BinValues& inverse_noise, const BinValues& power,
                             BinValues& speech, BinValues& gains, FloatSpectrum& spectrum) {
  const float previous_share = rule.previous_share, newest_share = 1 - previous_share;
  const float noise_factor = rule.noise_factor, least_gain = rule.least_gain;
  const float filtered = rule.filtered, unfiltered = 1 - filtered;
  const float *const inverse = inverse_noise.data(), *const loudness = power.data();
  float* __restrict const of_speech = speech.data(), * __restrict const of_mix = gains.data();
  for (size_t k = 0; k < kPaddedBins; ++k) {
    const float over_noise = inverse[k] * noise_factor;
    const float heard = Smaller(loudness[k] * over_noise, kMostSnr);
    const float prior =
        previous_share * Smaller(of_speech[k] * over_noise, kMostSnr) + newest_share * Larger(heard - 1, 0);
    const float passed = prior * prior * heard, all = (1 + prior) * (1 + prior) + passed;
    const float gain = Larger(passed / all, least_gain);
    of_speech[k] = gain * gain * loudness[k];
    of_mix[k] = unfiltered + filtered * gain;
  }
  for (size_t k = 0; k < kPaddedBins; ++k) {
    spectrum.re[k] *= of_mix[k];
    spectrum.im[k] *= of_mix[k];
  }
}

}  // namespace

VASK_KERNEL(void, PowerOfBins, (const FloatSpectrum& spectrum, BinValues& power), (spectrum, power),
            PowerOfBinsPortable)

VASK_KERNEL(void, WeighBins,
            (const GainRule& rule, const BinValues& inverse_noise, const BinValues& power, BinValues& speech,
             BinValues& gains, FloatSpectrum& spectrum),
            (rule, inverse_noise, power, speech, gains, spectrum), WeighBinsPortable)

}  // namespace vask
