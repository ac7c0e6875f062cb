// The detector's window before and after its transform.
#pragma once

#include <cstdint>

namespace vask {

// Pre-emphasised samples << 16 times the window (Q30, 0 or more), << 10.
void WindowEmphasized(const int32_t* samples, const int32_t* hamming, int32_t n, int32_t* out);

// 257 powers, 0 or more: shifted right in place, and limited to 32 bits.
void ScalePowers(int64_t* power, int32_t shift, int32_t* narrow);

}  // namespace vask
