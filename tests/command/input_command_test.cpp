// What the vask command reads: files that are shorter than their headers say, and pipes that keep it waiting.
#include "command/command.h"

namespace vask::test {
namespace {

using Args = std::vector<std::string>;

class InputCommand : public Command {
 protected:
  // Waits until the program notes signals instead of dying of them, whatever it is doing then.
  static void WaitUntilItCatches(int signal, pid_t child) {
    for (int k = 0; k < 10000; ++k, usleep(1000)) {
      std::ifstream file("/proc/" + std::to_string(child) + "/status");
      for (std::string line; std::getline(file, line);) {
        unsigned long long caught = 0;
        if (std::sscanf(line.c_str(), "SigCgt: %llx", &caught) == 1 && (caught >> (signal - 1) & 1) != 0)
          return;
      }
    }
    ADD_FAILURE() << "no signal is caught";
  }

  // One that continues after the signal is killed.
  Outcome Terminate(pid_t child) {
    kill(child, SIGTERM);
    siginfo_t info = {};
    for (int k = 0; k < 10000 && info.si_pid == 0; ++k, usleep(1000))
      waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
    if (info.si_pid == 0) kill(child, SIGKILL);
    return Finish(child);
  }
};

TEST_F(InputCommand, EndsBySignalWhereverItWaits) {
  ASSERT_EQ(mkfifo((*this / "pipe").c_str(), 0600), 0);
  std::ofstream(*this / "out") << "before";
  const std::vector<std::string> files = Files();
  const std::string room = Content(kRoom);
  const std::string au(".snd\0\0\0\x18\0\0\xFF\0\0\0\0\3\0\0\x3E\x80\0\0\0\1", 24);  // 65280 bytes follow
  struct Case {
    Args args;
    bool takes_sound;
  };
  for (const Case& c : std::vector<Case>{{{"detect", kEnergy, "pipe"}, true},
                                         {{"detect", kEnergy, kRoom, "pipe", kRoom, kRoom, "-j3"}, true},
                                         {{"detect", kEnergy, "--files-from", "pipe"}, false},
                                         {{"detect", kEnergy, kRoom, "--profile", "pipe"}, false},
                                         {{"denoise", kForRecognition, "pipe", "-o", "out"}, true},
                                         {{"denoise", kForRecognition, kRoom, "-o", "pipe"}, false},
                                         {{"packets", kEnergy, "pipe", "-o", "out"}, true},
                                         {{"unpack", "pipe", "-o", "out"}, false},
                                         {{"env", "pipe"}, true},
                                         {{"mfcc", "pipe", "-o", "out"}, true},
                                         {{"report", "pipe", "-o", "out"}, true}}) {
    // Nobody at the other end, while it starts and when it waits. A writer that has stopped in the middle.
    for (const auto& [sent, delay] :
         {std::pair<std::string, useconds_t>{"", 0}, {"", 30000}, {room, 50000}, {au + room, 50000}}) {
      if (!sent.empty() && !c.takes_sound) continue;
      const int pipe = sent.empty() ? -1 : open((*this / "pipe").c_str(), O_RDWR | O_CLOEXEC);
      if (!sent.empty()) {
        EXPECT_EQ(write(pipe, sent.data(), 60000), 60000);
      }
      const pid_t child = Start(c.args);
      WaitUntilItCatches(SIGTERM, child);
      usleep(delay);
      const Outcome outcome = Terminate(child);
      EXPECT_EQ(outcome.exit_code, -SIGTERM) << testing::PrintToString(c.args) << sent.substr(0, 4) << delay;
      EXPECT_EQ(outcome.err, "") << testing::PrintToString(c.args);
      EXPECT_EQ(Files(), files) << testing::PrintToString(c.args);
      close(pipe);
    }
  }
  EXPECT_EQ(Content(*this / "out"), "before");

  // And when nobody reads its list.
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
  const std::string full(static_cast<size_t>(fcntl(ends[1], F_GETPIPE_SZ)), '\n');
  ASSERT_EQ(write(ends[1], full.data(), full.size()), static_cast<ssize_t>(full.size()));
  const pid_t child = Start({"detect", kEnergy, kRoom}, [&] { dup2(ends[1], STDOUT_FILENO); });
  WaitUntilItCatches(SIGTERM, child);
  usleep(100000);
  EXPECT_EQ(Terminate(child).exit_code, -SIGTERM);
}

TEST_F(InputCommand, UsesWhatThereIsOfACutRecording) {
  const Samples room = Load(kRoom);
  ASSERT_EQ(mkfifo((*this / "pipe").c_str(), 0600), 0);
  std::signal(SIGPIPE, SIG_IGN);
  // From a file, "-" or "pipe", which give the bytes of "cut".
  const auto denoised = [&](const std::string& input, int exit_code, const std::string& error) {
    fs::remove(*this / "out.wav");
    const pid_t child = Start({"denoise", kForRecognition, input, "-o", "out.wav"},
                              [] { dup2(open("cut", O_RDONLY), STDIN_FILENO); });
    if (input == "pipe") std::ofstream(*this / "pipe", std::ios::binary) << Content(*this / "cut");
    const Outcome outcome = Finish(child);
    EXPECT_EQ(outcome.exit_code, exit_code) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), exit_code) << outcome.err;
    EXPECT_NE(outcome.err.find(error), std::string::npos) << outcome.err;
    return Load(*this / "out.wav");
  };
  for (const int format :
       {SF_FORMAT_WAV | SF_FORMAT_PCM_16, SF_FORMAT_WAV | SF_FORMAT_ULAW, SF_FORMAT_AIFF | SF_FORMAT_PCM_16,
        SF_FORMAT_AU | SF_FORMAT_PCM_16, SF_FORMAT_W64 | SF_FORMAT_PCM_24, SF_FORMAT_RF64 | SF_FORMAT_PCM_16,
        SF_FORMAT_NIST | SF_FORMAT_PCM_16, SF_FORMAT_FLAC | SF_FORMAT_PCM_16}) {
    SCOPED_TRACE(testing::Message() << std::hex << format);
    Save(*this / "whole", room, kRateHz, 1, format);
    const Samples clean = denoised("whole", 0, "");
    ASSERT_EQ(clean.size(), room.size());
    const std::string bytes = Content(*this / "whole");
    std::ofstream(*this / "cut", std::ios::binary) << bytes.substr(0, bytes.size() * 6 / 10);
    const Samples half =
        denoised("cut", 1, " of the 19.98 s that its header promises: what is there is used");
    ASSERT_GT(half.size(), room.size() / 2);
    ASSERT_LT(half.size(), room.size() * 2 / 3);
    // Except for the end, which the missing frames would still have changed.
    EXPECT_TRUE(std::equal(half.begin(), half.end() - 1000, clean.begin()));
  }

  // The last byte is missing, through standard input too; lengths of a writer that did not know.
  const std::string bytes = Content(kRoom);
  std::ofstream(*this / "cut", std::ios::binary) << bytes.substr(0, bytes.size() - 1);
  const std::string wrong = "ends after 19.979937 of the 19.980000 s that its header promises";
  EXPECT_EQ(denoised("cut", 1, "vask: cut: " + wrong).size(), room.size() - 1);
  EXPECT_EQ(denoised("-", 1, "vask: standard input: " + wrong).size(), room.size() - 1);
  EXPECT_EQ(denoised("pipe", 1, wrong).size(), room.size() - 1);
  for (const char* length : {"\0\0\0\0", "\xFF\xFF\xFF\xFF", "\x00\xF0\xFF\x7F"}) {
    std::ofstream(*this / "cut", std::ios::binary) << std::string(bytes).replace(40, 4, length, 4);
    for (const char* name : {"cut", "-", "pipe"}) EXPECT_EQ(denoised(name, 0, "").size(), room.size());
  }
}

TEST_F(InputCommand, SaysInEverySubcommandThatARecordingIsCut) {
  std::ofstream(*this / "cut.wav", std::ios::binary) << Content(kRoom).substr(0, 240044);
  const std::string message =
      "ends after 7.50 of the 19.98 s that its header promises: what is there is used; "
      "record or copy it again";
  const Args resume = {"detect", kEnergy, kRoom, "cut.wav", kRoom, "-o", "out", "--resume", "-j2"};
  for (const Args& args : std::vector<Args>{{"detect", kEnergy, "cut.wav", "-f", "jsonl"},
                                            {"packets", kEnergy, "cut.wav", "-o", "packets"},
                                            {"env", "cut.wav"},
                                            {"mfcc", "cut.wav", "-o", "array"},
                                            {"report", "cut.wav", "-o", "page"},
                                            resume,
                                            resume}) {  // nor is it finished for a later run
    const Outcome outcome = Run(args);
    EXPECT_EQ(outcome.exit_code, 1) << args[0];
    EXPECT_EQ(outcome.err, "vask: cut.wav: " + message + "\n") << args[0];
    if (args == resume) {
      EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 2 + 2 * 5);
    }
    if (args[0] == "env") {
      EXPECT_EQ(outcome.out.substr(0, 8), "cut.wav\t");
    }
    if (args.back() != "jsonl") continue;
    EXPECT_EQ(std::count(outcome.out.begin(), outcome.out.end(), '\n'), 4) << outcome.out;
    EXPECT_NE(outcome.out.find("\n{\"file\":\"cut.wav\",\"error\":\"" + message + "\"}\n"),
              std::string::npos);
  }
  // A recording that is named twice has one set of clips.
  EXPECT_EQ(Files(), (std::vector<std::string>{"array", "cut.wav", "out/cut-001.wav", "out/cut-002.wav",
                                               "out/room-001.wav", "out/room-002.wav", "out/room-003.wav",
                                               "out/room-004.wav", "out/room-005.wav", "packets", "page"}));
}

}  // namespace
}  // namespace vask::test
