// A line at the bottom of the terminal that is rewritten in place; nothing if standard error is not a
// terminal.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace vask::command {

class TerminalLine {
 public:
  ~TerminalLine() { Hide(); }

  static bool Possible();
  // Columns that a line may fill without scrolling, at this moment: windows change their size.
  static size_t Columns();

  // Whether enough time has passed for a person to see something new.
  bool Due() const;
  void Show(const std::string& text);  // no wider than Columns()
  void Hide();                         // before anything else is written to the terminal

 private:
  bool visible_ = false;
  std::chrono::steady_clock::time_point shown_{};
};

enum class Colour { kGreen, kYellow, kRed };

// The text as it is where colours are not wanted (NO_COLOR) or not possible.
std::string Coloured(Colour colour, const std::string& text);

// "[#####     ]  50 %  label" for a share from 0 to 1, fitted to the terminal: first the label loses its
// beginning, then the bar goes.
std::string ProgressText(double share, const std::string& label);

}  // namespace vask::command
