// A first-order high-pass filter, for applications.
#pragma once

#include <vask/dsp.h>

#include <cstdint>

namespace vask {

// False if there is no memory; nothing is kept then.
bool CreateHighPass(fix32_hp_filt& f);
void ReleaseHighPass(fix32_hp_filt& f);

void ClearHighPass(fix32_hp_filt& f);           // the state
int32_t HighPass(fix32_hp_filt& f, int32_t x);  // in the scale of x; wraps beyond 32 bits

}  // namespace vask
