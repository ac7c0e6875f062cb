// A line on the terminal that shows the progress of a long file; nothing anywhere else.
#pragma once

#include <cstdint>
#include <string>

#include "terminal/terminal_line.h"

namespace vask::command {

// Whether a file of that many samples at 16 kHz, 0 if unknown, takes long enough to show progress.
bool IsLong(int64_t samples);

class Progress {
 public:
  // `samples` at 16 kHz, 0 if unknown. Shown only for more than a minute.
  Progress(const std::string& file, int64_t samples);

  void Update(int64_t samples_done);

 private:
  std::string file_;
  int64_t samples_ = 0;
  TerminalLine line_;
};

}  // namespace vask::command
