// The verdict on a recording, from its change points and the two histories.
#pragma once

#include <cstdint>

#include "ecd/environment.h"
#include "ecd/scoring.h"

namespace vask {

inline constexpr int32_t kStandsOut = 0;       // the speech stands out, and the level rose where it began
inline constexpr int32_t kRoseTooLittle = 1;   // it stands out all the same
inline constexpr int32_t kTooNearToNoise = 2;  // it does not stand out from the final background
inline constexpr int32_t kTooFewChanges = 3;

// The histories must be aligned. Sets detector.snr.
int32_t ReportChange(EnvironmentDetector& detector, const EnvironmentHistory& history,
                     const Changes& changes);

}  // namespace vask
