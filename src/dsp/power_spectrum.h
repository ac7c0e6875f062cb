// Power spectrum of a packed real transform.
#pragma once

#include <cstdint>
#include <span>

#include "dsp/fft.h"
#include "dsp/fft_512.h"

namespace vask {

// x packed as Re X(0 .. n/2), Im X(n/2-1 .. 1); afterwards x[0 .. n/2] holds the powers, int64. Values are
// shifted right by `shift` before they are squared; a negative (overflowed) power becomes the largest.
void PowerSpectrum(std::span<int64_t> x, int32_t shift);

// RealFft of the samples, then PowerSpectrum, into `x` of 512 values.
void PowerOfWindow(const Samples512& samples, int32_t shift, const fft_tables& twiddles,
                   std::span<int64_t> x);

}  // namespace vask
