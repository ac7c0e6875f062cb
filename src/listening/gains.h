// The gain of each bin of a frame: the two-step Wiener filter. In: the spectrum of a frame and the noise
// floor; out: the spectrum after its gains.
#pragma once

#include "dsp/float_fft.h"
#include "listening/noise_floor.h"

namespace vask {

struct GainRule {
  float previous_share;  // of the previous frame's speech in the estimate of this one's, 0 to 1
  float noise_factor;    // on the noise floor's inverse: below 1 takes it for louder than it was heard
  float least_gain;
  float filtered;  // share of the filtered sound in the output; the rest is the input
};

void PowerOfBins(const FloatSpectrum& spectrum, BinValues& power);

// `power` is that of the spectrum. `speech` is the power of the speech of the previous frame, and becomes
// that of this one.
void WeighBins(const GainRule& rule, const BinValues& inverse_noise, const BinValues& power,
               BinValues& speech, BinValues& gains, FloatSpectrum& spectrum);

}  // namespace vask
