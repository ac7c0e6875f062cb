// Regression filters: the slope of a stream over the last few of its values.
#pragma once

#include <vask/dsp.h>

#include <cstdint>
#include <span>

namespace vask {

// Design a filter of `taps` taps with an empty history. False if there is no memory or no tap; nothing is
// kept then.
bool CreateRegression(fir_filt& f, int32_t taps);
void ReleaseRegression(fir_filt& f);

// The same for each filter of a bank; on failure all are released.
bool CreateRegressions(std::span<fir_filt> bank, int32_t taps);
void ReleaseRegressions(std::span<fir_filt> bank);

void PushValue(fir_filt& f, int32_t x);       // into the history only
int32_t FilterValue(fir_filt& f, int32_t x);  // in the scale of x; wraps beyond 32 bits

// One value to each filter of a bank.
void PushValues(std::span<fir_filt> bank, const int32_t* x);
void FilterValues(std::span<fir_filt> bank, const int32_t* x, int32_t* y);

}  // namespace vask
