// Options of the detector that at most print a message and change nothing: its thresholds come from the
// device profile alone.
#pragma once

#include <cstdint>

namespace vask {

// Report the requested trailing silence; the hangover remains that of the profile. Always returns 0.
int32_t ReportTrailingSilence(int32_t frames);

}  // namespace vask
