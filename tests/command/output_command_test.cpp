// What the vask command writes: the kind that a name says, or a stream on standard output.
#include <pty.h>

#include "command/command.h"

namespace vask::test {
namespace {

using Args = std::vector<std::string>;
using OutputCommand = Command;

TEST_F(OutputCommand, RefusesAKindThatItCannotWrite) {
  ASSERT_EQ(Run({"packets", kEnergy, kRoom, "-o", "packets"}).exit_code, 0);
  struct Case {
    Args args;
    std::string message;
  };
  const std::string sounds = "only .wav, .flac, .ogg, .oga, .opus, .mp3, .aiff, .aif, .au, .caf, .w64";
  for (const Case& c : {Case{{"denoise", kRoom, "-o", "x.xyz"},
                             "x.xyz: .xyz is not a kind that this subcommand writes, " + sounds},
                        Case{{"unpack", "packets", "-o", "x.m4a"}, sounds},
                        Case{{"report", kRoom, "-o", "x.pdf"}, "only .html, .htm"},
                        Case{{"mfcc", kRoom, "-o", "x.json"}, "only .npy, .csv"},
                        Case{{"mfcc", kRoom, "--csv", "-o", "x.npy"}, "--csv writes text"},
                        Case{{"packets", kRoom, "-o", "x.wav"}, "packets are not a sound file"},
                        Case{{"detect", kRoom, "-o", "-"}, "--output is a folder"}}) {
    const Outcome outcome = Run(c.args);
    EXPECT_EQ(outcome.exit_code, 2) << c.message;
    EXPECT_NE(outcome.err.find(c.message), std::string::npos) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
  }
  EXPECT_EQ(Files(), std::vector<std::string>{"packets"});
  Save(*this / "many.wav", Samples(9 * 100), kRateHz, 9);
  for (const std::string name : {"x.flac", "x.mp3"}) {
    const Outcome outcome = Run({"denoise", "many.wav", "-o", name});
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_NE(outcome.err.find("with 9 channels at 16000 Hz: write WAV"), std::string::npos) << outcome.err;
  }
}

TEST_F(OutputCommand, GivesTextByTheName) {
  ASSERT_EQ(Run({"mfcc", kRoom, "--csv", "-o", "wanted.txt"}).exit_code, 0);
  ASSERT_EQ(Run({"mfcc", kRoom, "-o", "by-name.CSV"}).exit_code, 0);
  EXPECT_TRUE(Content(*this / "by-name.CSV") == Content(*this / "wanted.txt"));
}

// What a file would hold, but in a pipe a WAV stream does not say how long it is.
TEST_F(OutputCommand, WritesToStandardOutput) {
  ASSERT_EQ(Run({"packets", kEnergy, kRoom, "-o", "packets"}).exit_code, 0);
  struct Case {
    Args args;
    std::string name;  // of the file to compare with
  };
  for (const Case& c : {Case{{"denoise", kForRecognition, kRoom}, "x.wav"}, Case{{"denoise", kRoom}, "x.wav"},
                        Case{{"unpack", "packets"}, "x.wav"}, Case{{"mfcc", kRoom}, "x.csv"},
                        Case{{"report", kRoom}, "x.html"}, Case{{"packets", kEnergy, kRoom}, "x"}}) {
    SCOPED_TRACE(testing::PrintToString(c.args));
    ASSERT_EQ(Run(With(c.args, {"-o", c.name})).err, "");
    std::string wanted = Content(*this / c.name);
    const Outcome to_file = Run(With(c.args, {"-o", "-"}));
    EXPECT_EQ(to_file.err, "");
    EXPECT_TRUE(to_file.out == wanted);

    const pid_t child = Start({}, [&] {
      std::string line = std::string("set -o pipefail; '") + VASK_COMMAND + "' \"$@\" -o - | cat > piped";
      Args args = With({"bash", "-c", line, "-"}, c.args);
      std::vector<char*> argv;
      for (std::string& arg : args) argv.push_back(arg.data());
      argv.push_back(nullptr);
      execvp("bash", argv.data());
    });
    const Outcome piped = Finish(child);
    EXPECT_EQ(piped.exit_code, 0) << piped.err;
    if (c.name == "x.wav") {
      wanted.replace(4, 4, std::string("\x24\xF0\xFF\x7F", 4));
      wanted.replace(40, 4, std::string("\x00\xF0\xFF\x7F", 4));
    }
    EXPECT_TRUE(Content(*this / "piped") == wanted);
  }
  // An appended stream cannot be changed where it began.
  std::ofstream(*this / "appended") << "before";
  Run({"unpack", "packets", "-o", "-"}, [] { dup2(open("appended", O_WRONLY | O_APPEND), STDOUT_FILENO); });
  EXPECT_EQ(Content(*this / "appended").substr(0, 14), std::string("beforeRIFF\x24\xF0\xFF\x7F", 14));
  EXPECT_FALSE(fs::exists(*this / "-"));
}

TEST_F(OutputCommand, SparesATerminalWhatItCannotShow) {
  int terminal = -1, other = -1;
  ASSERT_EQ(openpty(&terminal, &other, nullptr, nullptr, nullptr), 0);
  for (const Args& args : {Args{"denoise", kRoom}, Args{"packets", kEnergy, kRoom}}) {
    const Outcome outcome = Run(With(args, {"-o", "-"}), [&] { dup2(other, STDOUT_FILENO); });
    EXPECT_EQ(outcome.exit_code, 1);
    EXPECT_EQ(outcome.err,
              "vask: standard output: is a terminal, which cannot show this: name a file, or pipe it to a "
              "program\n");
  }
  close(terminal);
  close(other);
}

}  // namespace
}  // namespace vask::test
