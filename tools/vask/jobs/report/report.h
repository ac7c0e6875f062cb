// `vask report`: what was found in a recording, as a page to look at and listen to.
#pragma once

#include <cstdint>
#include <string>

#include "listen/listen_options.h"
#include "sound/sound_input.h"

namespace vask::command {

struct ReportArguments {
  ListenOptions options;
  ReadOptions reading;
  std::string input, output;
  std::string title;  // empty: the file's name
  bool no_audio = false;
};

// Throws UsageError, FileError, FatalError, Interruption.
void Report(const ReportArguments& arguments, int32_t device, int32_t os);

}  // namespace vask::command
