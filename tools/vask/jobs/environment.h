// `vask env`: was the recording made where speech stands out?
#ifndef TOOLS_VASK_JOBS_ENVIRONMENT_H_
#define TOOLS_VASK_JOBS_ENVIRONMENT_H_

#include <cstdint>
#include <optional>
#include <string>

#include "library/engine_session.h"

namespace vask::command {

struct Verdict {
  int32_t code = -1;                                // of Vask_epd_ecd
  int32_t changes = 0;                              // counted
  std::optional<double> first_change, last_change;  // s
  std::optional<double> snr_db;
  int16_t sample_min = 0, sample_max = 0;
  double judged_from = 0, judged_to = 0;  // s: the part of the file that the library's histories hold
  double length = 0;                      // s
  bool restarted = false;                 // the engine rejected a sound as no speech and began again
};

// What a code of Vask_epd_ecd means.
const char* MeaningOf(int32_t code);

// Runs the engine and the extractor over the same frames, in mode 1, and has the recording judged. Throws
// FileError for this file, FatalError if no other file can fare better.
Verdict JudgeEnvironment(EngineSession& engine, const std::string& input);

// One line of text, or one object of JSON.
std::string LineOf(const std::string& input, const Verdict& verdict);
std::string JsonOf(const std::string& input, const Verdict& verdict);

}  // namespace vask::command

#endif  // TOOLS_VASK_JOBS_ENVIRONMENT_H_
