// The power of the background in each bin, learned while nobody speaks. In: power spectra of frames, bins of
// 31.25 Hz; out: powers on the same scale.
#pragma once

#include <array>
#include <cstdint>

#include "dsp/float_fft.h"

namespace vask {

using BinValues = std::array<float, kPaddedBins>;

// The mean is that of the logarithms, which hears the steady background and hardly the clicks and calls in
// it: those would make the filter cut into speech. All zero: nothing is learned.
struct NoiseFloor {
  BinValues mean_log;  // of the logarithms of the powers, in steps of 2^-23 octaves
  float weight;        // of all spectra so far, in pairs of frames
};

// Learn from a pair of frames, of which the share `take` counts: 0 to 1.
void LearnPair(const BinValues& older, const BinValues& newer, float take, NoiseFloor& floor);

// One over the power of each bin.
void InvertFloor(const NoiseFloor& floor, BinValues& inverse);

}  // namespace vask
