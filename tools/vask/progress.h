// A line on the terminal that says how far a long file is; nothing anywhere else.
#ifndef TOOLS_VASK_PROGRESS_H_
#define TOOLS_VASK_PROGRESS_H_

#include <cstdint>
#include <string>

namespace vask::command {

class Progress {
 public:
  // `samples` at 16 kHz, 0 if unknown. Shown only for more than a minute, on a standard error that is a
  // terminal.
  Progress(const std::string& file, int64_t samples);
  ~Progress() { Hide(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Update(int64_t samples_done);
  void Hide();  // before anything else is written to the terminal

 private:
  std::string file_;
  int64_t samples_ = 0;
  int shown_percent_ = -1;
  bool visible_ = false;
};

}  // namespace vask::command

#endif  // TOOLS_VASK_PROGRESS_H_
