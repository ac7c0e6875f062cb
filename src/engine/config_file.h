// Settings that their owner stores elsewhere, and the file that changes them.
#pragma once

#include <cstdint>

#include "engine/record.h"

namespace vask {

// The process-wide stream keeps these in exported variables. They are recorded and reported; the signal path
// does not use them.
struct Settings {
  float& sampling_rate;  // Hz
  float& cutoff;         // Hz
  int32_t& sensitivity;  // 1 high, 0 low
  int32_t& loud_definition;
};

void SetSamplingRate(Settings& settings, int32_t rate);

// Read "config.Vask" in `dir`, if there is one, and apply its keys line by line.
void ApplyConfigFile(Settings& settings, const char* dir);

}  // namespace vask
