// The library's environment check over a part of a recording: 16 kHz int16 samples in, its code and figures
// out.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "library/engine_session.h"

namespace vask::command {

constexpr int32_t kMostJudged = 2048 * kFrameSamples;  // samples: the library's histories, 20.48 s

struct Judgement {
  int32_t code = -1;                                // of Vask_epd_ecd
  int32_t changes = 0;                              // their number
  std::optional<double> first_change, last_change;  // s from the first sample
  std::optional<double> snr_db;
  int16_t sample_min = 0, sample_max = 0;
  double judged_from = 0;  // s: what comes before is not in the histories
  bool restarted = false;  // the engine rejected a sound as not speech and started again
};

// At most kMostJudged samples.
Judgement Judge(EngineSession& engine, std::span<const int16_t> samples);

}  // namespace vask::command
