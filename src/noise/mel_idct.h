// The mel-warped inverse cosine transform: band gains to taps of a zero-phase filter.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// The first rows.size() rows and columns (35 at most) of the built-in basis, Q30: row = tap, column = band.
void CopyMelIdctBasis(std::span<int32_t* const> rows);

// Turn gains.size() band gains into taps, the first `taps` values of `gains`: Q30, in place. `scratch`: one
// element per tap.
void MelIdct(std::span<int32_t> gains, int64_t* scratch, const int32_t* const* rows, int32_t taps);

}  // namespace vask
