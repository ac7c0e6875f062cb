// `vask detect`: finds the utterances in recordings, and writes them to files of their own.
#pragma once

#include <string>
#include <vector>

#include "listen/listen_options.h"
#include "sound/sound_input.h"

namespace vask::command {

struct DetectArguments {
  ListenOptions options;
  ReadOptions reading;
  std::vector<std::string> inputs;
  std::string files_from;
  bool null = false;   // the names in it end with a zero byte
  std::string output;  // folder; empty: the utterances are only listed
  std::string format = "text";
  std::string audio = "clean";
  bool flac = false, resume = false, overwrite = false, no_wait = false;  // need an output
  bool verbose = false, meter = false, recursive = false, summary = false;
  int32_t jobs = 0;  // 0: one per core
};

// Lists the utterances of all inputs; returns the exit status. The list of inputs is complete and the
// options are checked. Throws UsageError, FatalError, FileError for a file of names or options, Interruption.
int DetectAll(const DetectArguments& arguments, const ListenSetup& listen);

}  // namespace vask::command
