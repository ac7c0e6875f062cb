// The two crossing counts of a window, with no state carried from sample to sample.
//
// The plain centre clipper (voicing_temporal.h) counts a change of level when at least three samples
// without one precede it: a change at i counts when there is none at i - 1, i - 2 and i - 3. A sample and the
// previous one differ in sign when their exclusive or has its sign bit set.
#pragma once

#include <cstdint>
#include <span>

namespace vask {

// Of a window of at most 320 samples: what CenterClip and ZeroCrossings return; `signs` as ZeroCrossings
// leaves it.
int32_t CountClipCrossings(std::span<const int16_t> s, int32_t level);
int32_t CountZeroCrossings(std::span<const int16_t> s, int16_t* signs);

}  // namespace vask
