#include "terminal/terminal_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace vask::command {
namespace {

constexpr auto kInterval = std::chrono::milliseconds(50);
constexpr size_t kUsualColumns = 80;
constexpr size_t kMostBar = 30, kLeastBar = 8;
constexpr size_t kAroundBar = 3;  // "[] "
constexpr const char* kCut = "...";
constexpr size_t kGap = 2;  // before the label

struct Character {
  size_t bytes, columns;
};

// The first one of UTF-8 text. From U+1000 on there are characters two columns wide: all of those count as
// such.
Character FirstOf(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const size_t wanted = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  size_t bytes = 1;
  while (bytes < std::min(wanted, text.size()) && (static_cast<unsigned char>(text[bytes]) & 0xC0) == 0x80)
    ++bytes;
  return {bytes, lead > 0xE0 ? 2U : 1U};
}

size_t WidthOf(std::string_view text) {
  size_t columns = 0;
  while (!text.empty()) {
    const Character first = FirstOf(text);
    columns += first.columns;
    text.remove_prefix(first.bytes);
  }
  return columns;
}

// The end of a name tells more than its beginning.
std::string EndOf(std::string_view text, size_t columns) {
  size_t width = WidthOf(text);
  if (width <= columns) return std::string(text);
  if (columns <= std::strlen(kCut)) return "";
  while (width + std::strlen(kCut) > columns) {
    const Character first = FirstOf(text);
    width -= first.columns;
    text.remove_prefix(first.bytes);
  }
  return std::string(kCut).append(text);
}

bool MayColour() {
  static const bool may = [] {
    const char* unwanted = std::getenv("NO_COLOR");
    const char* kind = std::getenv("TERM");
    return (unwanted == nullptr || *unwanted == '\0') && kind != nullptr && std::strcmp(kind, "dumb") != 0;
  }();
  return may;
}

}  // namespace

bool TerminalLine::Possible() {
  static const bool possible = isatty(STDERR_FILENO) != 0;
  return possible;
}

size_t TerminalLine::Columns() {
  struct winsize size = {};
  const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return (known ? size.ws_col : kUsualColumns) - 1;  // a full line would move the cursor to the next
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

std::string Coloured(Colour colour, const std::string& text) {
  if (!MayColour()) return text;
  const char* code = colour == Colour::kGreen ? "32" : colour == Colour::kYellow ? "33" : "31";
  return std::string("\033[") + code + "m" + text + "\033[m";
}

std::string ProgressText(double share, const std::string& label) {
  const size_t percent = static_cast<size_t>(100 * std::clamp(share, 0.0, 1.0));
  char number[8];
  std::snprintf(number, sizeof number, "%3zu %%", percent);
  const size_t columns = TerminalLine::Columns(), fixed = std::strlen(number) + kGap;
  if (columns < fixed) return EndOf(number, columns);
  const size_t room = columns - fixed;
  std::string bar;
  if (room >= kAroundBar + kLeastBar) {
    const size_t beside = std::min(WidthOf(label), room - kAroundBar - kLeastBar);
    const size_t width = std::min(kMostBar, room - kAroundBar - beside);
    bar.append("[").append(percent * width / 100, '#');
    bar.resize(1 + width, ' ');
    bar += "] ";
  }
  return bar + number + std::string(kGap, ' ') + EndOf(label, room - bar.size());
}

}  // namespace vask::command
