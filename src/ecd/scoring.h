// Where the environment changes: a sliding window of mel energies, judged by the Bayesian information
// criterion (Chen and Gopalakrishnan 1998).
#pragma once

#include <vask/ecd.h>

#include <cstdint>

namespace vask {

inline constexpr int16_t kScoredColumns = 23;
inline constexpr int32_t kBlockRows = 5, kHalfRows = 10;

// Change points are row numbers; -1: none. From the second change on, `last` is the latest.
struct Changes {
  int32_t first = -1, last = -1;
  int32_t count = 0;
};

// Slide `window` over the rows 0 .. frames - 2. There are no changes without a complete window or without
// rows.
Changes FindChanges(EnvChangeDetect& window, fmatrix rows, int32_t frames);

}  // namespace vask
