// Options of the detector that report and change nothing: its thresholds come from the device profile alone.
#pragma once

#include <cstdint>

namespace vask {

// Say what trailing silence was asked for; the hangover in force stays the profile's. Always 0.
int32_t ReportTrailingSilence(int32_t frames);

}  // namespace vask
