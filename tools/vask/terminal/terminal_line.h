// A line at the bottom of the terminal that is rewritten in place; nothing if standard error is not a
// terminal.
#pragma once

#include <chrono>
#include <string>

namespace vask::command {

class TerminalLine {
 public:
  ~TerminalLine() { Hide(); }

  static bool Possible();

  // Whether enough time has passed for a person to see something new.
  bool Due() const;
  void Show(const std::string& text);
  void Hide();  // before anything else is written to the terminal

 private:
  bool visible_ = false;
  std::chrono::steady_clock::time_point shown_{};
};

// "[#####     ]  50 %" for a share from 0 to 1.
std::string Bar(double share);

}  // namespace vask::command
