#include "terminal/terminal_line.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace vask::command {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(50);
constexpr int kBarWidth = 30;

}  // namespace

bool TerminalLine::Possible() {
  static const bool possible = isatty(STDERR_FILENO) != 0;
  return possible;
}

bool TerminalLine::Due() const { return std::chrono::steady_clock::now() - shown_ >= kInterval; }

void TerminalLine::Show(const std::string& text) {
  if (!Possible()) return;
  shown_ = std::chrono::steady_clock::now();
  visible_ = true;
  std::fprintf(stderr, "\r%s\033[K", text.c_str());
  std::fflush(stderr);
}

void TerminalLine::Hide() {
  if (visible_) std::fputs("\r\033[K", stderr);
  visible_ = false;
}

std::string Bar(double share) {
  const int percent = static_cast<int>(100 * std::clamp(share, 0.0, 1.0));
  const std::string bar(static_cast<size_t>(percent * kBarWidth / 100), '#');
  char text[kBarWidth + 16];
  std::snprintf(text, sizeof text, "[%-*s] %3d %%", kBarWidth, bar.c_str(), percent);
  return text;
}

}  // namespace vask::command
