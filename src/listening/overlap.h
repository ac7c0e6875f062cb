// Frames to windows and back: root-Hann windows of 20 ms that overlap by half, before the transform and after
// it. In and out: 160 samples, 16 bits.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "dsp/float_fft.h"
#include "dsp/sizes.h"

namespace vask {

using HalfWindow = std::array<float, kFrame>;

// The rising half; the falling one is its mirror image. Its square and that of its mirror image add up to 1.
void MakeRisingHalf(HalfWindow& rising);

// `older` and `frame` under the window, then zeros.
void TakeWindow(const HalfWindow& rising, const HalfWindow& older, const HalfWindow& frame,
                FloatSamples& samples);

// The frame out of the first half of `samples` (InverseFft's scale) and what the previous window left,
// rounded. `left` becomes what this window leaves.
void AddOverlap(const HalfWindow& rising, const FloatSamples& samples, HalfWindow& left, int16_t* out);

}  // namespace vask
