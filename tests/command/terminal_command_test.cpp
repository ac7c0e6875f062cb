// The line at the bottom of the terminal: it fits, follows the window, and is gone at the end.
#include <pty.h>
#include <sys/ioctl.h>

#include <thread>

#include "command/command.h"

namespace vask::test {
namespace {

// "一" is two columns wide, in three bytes.
const std::string kLong =
    "recordings-of-the-day-" + std::string("\u4e00\u4e00\u4e00\u4e00") + "-and-more.wav";

// Without the colours.
std::string Plain(const std::string& text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033') {
      while (text[i] != 'm' && text[i] != 'K') ++i;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

// Of text that has only ASCII and that character.
size_t ColumnsOf(const std::string& text) {
  const auto wide = static_cast<size_t>(std::count(text.begin(), text.end(), '\xE4'));
  return text.size() - wide;
}

class TerminalLines : public Command {
 protected:
  // Each line that the command drew on a terminal of this width, which becomes `later` once it has drawn one.
  std::vector<std::string> Drawn(const std::vector<std::string>& args, int columns, int later,
                                 const char* no_colour = "") {
    struct winsize size = {25, static_cast<unsigned short>(columns), 0, 0};
    int terminal = -1, process_side = -1;
    EXPECT_EQ(openpty(&terminal, &process_side, nullptr, nullptr, &size), 0);
    std::string shown;
    std::thread reader([&] {
      char text[512];
      for (ssize_t n; (n = read(terminal, text, sizeof text)) > 0;) {
        shown.append(text, static_cast<size_t>(n));
        size.ws_col = static_cast<unsigned short>(later);
        ioctl(terminal, TIOCSWINSZ, &size);
      }
    });
    const pid_t child = Start(args, [&] {
      setenv("TERM", "xterm", 1);
      setenv("NO_COLOR", no_colour, 1);
      dup2(process_side, STDERR_FILENO);
    });
    close(process_side);
    EXPECT_EQ(Finish(child).exit_code, 0);
    reader.join();
    close(terminal);
    std::vector<std::string> lines;
    std::istringstream parts(shown);
    std::string line;
    for (std::getline(parts, line, '\r'); std::getline(parts, line, '\r');) lines.push_back(line);
    return lines;
  }

  TerminalLines() {
    const Samples room = Load(kRoom);
    Samples all;
    for (int k = 0; k < 30; ++k) all.insert(all.end(), room.begin(), room.end());
    Save(*this / kLong, all);
  }
};

TEST_F(TerminalLines, FitTheWindowAndFollowIt) {
  const std::vector<std::string> progress = {"detect", kEnergy, kLong},
                                 denoise = {"denoise", kLong, "-o", "x.wav"},
                                 meter = {"detect", kEnergy, "--meter", kLong};
  struct Case {
    const std::vector<std::string>& args;
    int columns, later;
    const char* early;  // in the first line; and in a later one
    const char* late;
  };
  for (const Case& c : {Case{progress, 100, 40, "] ", " %  ..."},
                        {progress, 40, 100, " %  ...", "%  recordings-of-the-day-"},
                        {denoise, 60, 30, "] ", "...more.wav"},
                        {progress, 14, 3, " %", ""},
                        {denoise, 0, 0, "[", "-and-more.wav"},
                        {meter, 100, 60, " dB  [", " dB  ["},
                        {meter, 40, 30, " dB  [", " dB  "},
                        {meter, 8, 20, "", " dB  "}}) {
    const std::vector<std::string> lines = Drawn(c.args, c.columns, c.later);
    const std::string what = c.args[0] + " " + std::to_string(c.columns) + " " + std::to_string(c.later);
    ASSERT_GT(lines.size(), 3U) << what;
    EXPECT_NE(Plain(lines[0]).find(c.early), std::string::npos) << what << ": " << Plain(lines[0]);
    bool found = false;
    for (size_t k = 0; k < lines.size(); ++k) {
      const std::string line = Plain(lines[k]);
      const int columns = k < 2 ? std::max(c.columns, c.later) : c.later;  // one may be on its way
      EXPECT_LT(ColumnsOf(line), static_cast<size_t>(columns == 0 ? 80 : columns)) << what << ": " << line;
      if (k > 1) found |= line.find(c.late) != std::string::npos;
    }
    EXPECT_TRUE(found) << what << ": no " << c.late << " in " << Plain(lines[lines.size() - 2]);
    EXPECT_EQ(lines.back(), "\033[K") << what;  // gone at the end
  }
}

TEST_F(TerminalLines, AreColouredUnlessThatIsNotWantedAndNeverPiped) {
  const std::vector<std::string> meter = {"detect", kEnergy, "--meter", kLong};
  const auto coloured = [&](const char* no_colour) {
    size_t count = 0;
    for (const std::string& line : Drawn(meter, 80, 80, no_colour))
      count += line.find('m') != line.npos ? 1 : 0;
    return count;
  };
  EXPECT_GT(coloured(""), 2U);
  EXPECT_EQ(coloured("1"), 0U);
  EXPECT_EQ(Run(meter).err, "vask: --meter: standard error is not a terminal: nothing is shown\n");
  EXPECT_EQ(Run({"detect", kEnergy, kLong}).err, "");
}

}  // namespace
}  // namespace vask::test
