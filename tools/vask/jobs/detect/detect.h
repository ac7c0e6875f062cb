// `vask detect`: where somebody speaks in recordings, and the utterances as files of their own.
#pragma once

#include <string>
#include <vector>

#include "listen/listen_options.h"

namespace vask::command {

struct DetectArguments {
  ListenOptions options;
  std::vector<std::string> inputs;
  std::string files_from;
  bool null = false;   // the names in it end with zero bytes
  std::string output;  // folder; empty: the utterances are listed only
  std::string format = "text";
  std::string audio = "clean";
  bool flac = false, resume = false, overwrite = false, no_wait = false;  // with an output
  bool verbose = false, meter = false;
  int32_t jobs = 0;  // 0: one a core
};

// Lists the utterances of all inputs; returns the exit status. The inputs are complete and the options
// checked. Throws UsageError, FatalError, FileError for what holds names or options, Interruption.
int DetectAll(const DetectArguments& arguments, const vask_stream_options& options);

}  // namespace vask::command
