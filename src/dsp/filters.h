// The small filters of the per-frame path.
#pragma once

#include <vask/dsp.h>

#include <cstdint>
#include <span>

namespace vask {

void ClearDcFilter(dc_filt& f);
// Remove the DC offset from `x`, in place (any Q; the engine uses samples << 15).
void RemoveDc(std::span<int32_t> x, dc_filt& f);

void ClearPreEmphasis(pre_emph_filt& f);
// out = 65536 * (s[n] - 0.97 s[n-1]).
void Emphasize(pre_emph_filt& f, std::span<const int16_t> samples, int32_t* out);

// Majority of binary decisions: 1 when more than half of them are 1.
int32_t Majority(std::span<const int16_t> decisions);

}  // namespace vask
