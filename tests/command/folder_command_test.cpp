// vask detect -o DIR: what one run leaves for the next, and two runs at once.
#include <chrono>

#include "command/command.h"

namespace vask::test {
namespace {

using std::string;
using Names = std::vector<string>;

constexpr const char* kLedger = "out/.vask-detect.jsonl";

class FolderCommand : public Command {
 protected:
  void SetUp() override { std::signal(SIGPIPE, SIG_IGN); }

  // A recording of the first sentence, the first two and so on.
  void Speak(const string& name, int sentences) {
    static constexpr double kCuts[] = {4.9, 8.4, 12.4, 15.6};  // s
    const Samples room = Load(kRoom);
    fs::create_directories((*this / name).parent_path());
    Save(*this / name, Samples(room.begin(), room.begin() + std::lround(kCuts[sentences - 1] * kRateHz)));
  }

  Outcome Into(const Names& more) { return Run(With({"detect", kEnergy, "-o", "out"}, more)); }

  Names In(const string& folder) const {
    Names names;
    for (const auto& entry : fs::directory_iterator(*this / folder)) {
      if (entry.path().filename() != ".vask-detect.jsonl") names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  void Write(const string& name, const string& text) {
    std::ofstream(*this / name, std::ios::binary) << text;
  }

  long Finished() const {  // inputs in the ledger
    const string ledger = Content(*this / kLedger), mark = "\"result\":";
    long count = 0;
    for (size_t at = 0; (at = ledger.find(mark, at)) != string::npos; ++at) ++count;
    return count;
  }
};

TEST_F(FolderCommand, ContinuesAfterAKilledRun) {
  const Names files = Many(40);
  ASSERT_EQ(Run(With({"detect", kEnergy, "-o", "whole"}, files)).exit_code, 1);
  const string wanted = Run(With({"detect", kEnergy}, files)).out;
  const Names run = With({"detect", kEnergy, "-o", "out", "--resume", "-j2"}, files);
  for (const size_t enough : {2, 9, 20}) {  // files written
    const pid_t child = Start(run);
    while (waitpid(child, nullptr, WNOHANG) == 0) {
      std::error_code ignored;
      const auto there = std::distance(fs::directory_iterator(*this / "out", ignored), {});
      if (there > static_cast<long>(enough)) kill(child, SIGKILL);
    }
  }
  EXPECT_GT(Finished(), 0);
  std::ofstream(*this / kLedger, std::ios::app) << "{\"input\":[\"cut sho";
  for (const char* left : {"out/.vask-abcdef", ".vask-abcdef"}) Write(left, "left by a run that was killed");
  EXPECT_EQ(Run(run).out, wanted);
  EXPECT_EQ(Finished(), 38);
  const auto written = fs::last_write_time(*this / "out/f0-001.wav");
  EXPECT_EQ(Run(run).out, wanted);  // and again, from the ledger alone
  EXPECT_EQ(Finished(), 38);
  EXPECT_EQ(fs::last_write_time(*this / "out/f0-001.wav"), written);
  EXPECT_EQ(In("out"), In("whole"));
  for (const string& name : In("whole"))
    EXPECT_TRUE(Content(*this / ("whole/" + name)) == Content(*this / ("out/" + name))) << name;
  EXPECT_EQ(Run({"denoise", kForRecognition, "f0.wav", "-o", "clean.wav"}).exit_code, 0);
  EXPECT_FALSE(fs::exists(*this / ".vask-abcdef"));

  // What has changed is done again: an input, a file that is gone, emptied or altered.
  const string emptied = In("out")[3], changed = In("out")[6];
  fs::last_write_time(*this / files[5], fs::file_time_type::clock::now() + std::chrono::seconds(5));
  fs::remove(*this / "out/f0-001.wav");
  Write("out/" + emptied, "");
  string bytes = Content(*this / ("out/" + changed));
  bytes.back() ^= 1;
  Write("out/" + changed, bytes);
  EXPECT_EQ(Run(run).out, wanted);
  EXPECT_EQ(Finished(), 38 + 4);
  for (const string& name : In("whole"))
    EXPECT_TRUE(Content(*this / ("whole/" + name)) == Content(*this / ("out/" + name))) << name;
  // And everything with other options; most of the ledger is superseded then, and the next run drops that.
  EXPECT_NE(Run(With(run, {"--pad-end", "0.1"})).out, wanted);
  EXPECT_EQ(Finished(), 38 + 4 + 38);
  EXPECT_NE(Run(With(run, {"--pad-end", "0.1"})).out, wanted);
  EXPECT_EQ(Finished(), 38);
}

TEST_F(FolderCommand, NamesClipsByTheRecordingAlone) {
  Names inputs = {"a/x.wav", "b/x.wav", "b/y.wav", "b/y_c.wav", "c/y.wav", "d/z.wav", "e/d/z.wav"};
  for (size_t k = 0; k < inputs.size(); ++k) Speak(inputs[k], 1 + static_cast<int>(k) % 4);
  ASSERT_EQ(Into(inputs).exit_code, 0);
  fs::rename(*this / "out", *this / "first");
  std::reverse(inputs.begin(), inputs.end());
  for (const Names& more : {Names{"-j1"}, Names{"--resume"}}) {
    EXPECT_EQ(Into(With(inputs, more)).err, "");
    EXPECT_EQ(In("out"), In("first"));
    for (const string& name : In("first"))
      EXPECT_TRUE(Content(*this / ("out/" + name)) == Content(*this / ("first/" + name))) << name;
  }
  Names bases;
  for (const string& name : In("out")) {
    if (name.ends_with("-001.wav")) bases.push_back(name.substr(0, name.size() - 8));
  }
  // If that is not enough, or is the name of another, a hash: 12 digits, for three of them.
  const auto with_figures =
      std::stable_partition(bases.begin(), bases.end(), [](const string& base) { return base.size() < 14; });
  EXPECT_EQ(Names(bases.begin(), with_figures), (Names{"x_a", "x_b", "y_b", "y_c"}));
  EXPECT_EQ(bases.end() - with_figures, 3);
  // With --resume a recording keeps its name, and no other gets it.
  EXPECT_EQ(Into({"--resume", "a/x.wav", "c/x.wav"}).exit_code, 1);  // there is no c/x.wav
  Speak("c/x.wav", 2);
  EXPECT_EQ(Into({"--resume", "c/x.wav"}).err, "");
  EXPECT_TRUE(fs::exists(*this / "out/x-002.wav"));
  EXPECT_EQ(Into({"--resume", "d/x.wav", "c/x.wav"}).exit_code, 1);
  EXPECT_TRUE(fs::exists(*this / "out/x-002.wav"));
}

TEST_F(FolderCommand, TellsItsOwnFilesFromOthers) {
  Speak("a/x.wav", 3);
  Speak("b/x.wav", 1);
  Speak("c.wav", 2);
  Write("own", "mine");
  const auto same = [&] { return Content(*this / "out/x-007.wav") + Content(*this / "out/x.txt"); };
  // Its own are replaced or, if there are fewer now, removed; what no run wrote is left alone.
  ASSERT_EQ(Into({"a/x.wav"}).exit_code, 0);
  fs::copy(*this / "own", *this / "out/x-007.wav");
  fs::copy(*this / "own", *this / "out/x.txt");
  struct Case {
    Names args;
    Names left;  // besides those
    string error;
  };
  const string replaces = "--overwrite replaces it, or choose another folder";
  for (const Case& c : std::vector<Case>{
           {{"a/x.wav"}, {"x-001.wav", "x-002.wav", "x-003.wav"}, ""},
           {{"a/x.wav", "--min-speech", "1.6"}, {"x-001.wav", "x-002.wav"}, ""},
           {{"a/x.wav", "--flac"}, {"x-001.flac", "x-002.flac", "x-003.flac"}, ""},
           {{"c.wav", "-f", "labels"},
            {"c-001.wav", "c-002.wav", "c.txt", "x-001.flac", "x-002.flac", "x-003.flac"},
            ""},
           {{"c.wav", "--resume", "-f", "webvtt"},
            {"c-001.wav", "c-002.wav", "c.txt", "c.vtt", "x-001.flac", "x-002.flac", "x-003.flac"},
            ""},
           {{"c.wav"}, {"c-001.wav", "c-002.wav", "x-001.flac", "x-002.flac", "x-003.flac"}, ""},
           {{"b/x.wav"},
            {"c-001.wav", "c-002.wav", "x-001.flac", "x-002.flac", "x-003.flac"},
            "x-001.flac: belongs to another recording, " + (*this / "a/x.wav").string() +
                ": --resume keeps both, " + replaces},
           {{"b/x.wav", "--resume"},
            {"c-001.wav", "c-002.wav", "x-001.flac", "x-002.flac", "x-003.flac", "x_b-001.wav"},
            ""},
           {{"b/x.wav", "--overwrite"}, {"c-001.wav", "c-002.wav", "x-001.wav"}, ""},
           {{"b/x.wav", "-f", "labels"},
            {"c-001.wav", "c-002.wav", "x-001.wav"},
            "x.txt: is not from an earlier run: " + replaces},
       }) {
    const Outcome outcome = Into(c.args);
    EXPECT_EQ(outcome.err, c.error.empty() ? "" : "vask: out/" + c.error + "\n");
    EXPECT_EQ(outcome.exit_code, c.error.empty() ? 0 : 1);
    Names left = With(c.left, {"x-007.wav", "x.txt"});
    std::sort(left.begin(), left.end());
    EXPECT_EQ(In("out"), left) << c.args[0] << " " << c.args.back();
    EXPECT_EQ(same(), "minemine");
  }
  EXPECT_EQ(Into({"b/x.wav", "-f", "labels", "--overwrite"}).err, "");
  EXPECT_EQ(same().substr(0, 5), "mine1");
  // What came through a pipe cannot be made again.
  const auto live = [&](const Names& more) {
    return Run(With({"detect", kEnergy, "-", "-o", "out"}, more),
               [] { dup2(open("a/x.wav", O_RDONLY), STDIN_FILENO); });
  };
  EXPECT_EQ(live({}).exit_code, 0);
  EXPECT_EQ(live({}).err,
            "vask: out/stdin-001.wav: is from an earlier run, which read other sound from there: " +
                replaces + "\n");
  EXPECT_EQ(live({"--overwrite"}).exit_code, 0);
}

TEST_F(FolderCommand, TrustsNoLedgerBlindly) {
  Speak("x.wav", 2);
  const string wanted = Into({"x.wav"}).out, ledger = Content(*this / kLedger);
  const auto replaced = [&](const string& from, const string& to) {
    string text = ledger;
    for (size_t at = 0; (at = text.find(from, at)) != string::npos; at += to.size())
      text.replace(at, from.size(), to);
    return text;
  };
  Write("safe.wav", "not in the folder");
  string deep = "{\"input\":";
  for (int k = 0; k < 100000; ++k) deep += '[';
  struct Case {
    string text;
    bool known;  // whose files they are
  };
  for (const Case& c :
       {Case{deep + "\n" + ledger, true}, Case{ledger + deep, true},
        Case{replaced("silence", "\\u001b[2J"), true}, Case{replaced("\"x-002.wav", "\"../safe.wav"), false},
        Case{replaced("\"x\"", "\"../x\""), false}, Case{"", false}, Case{"\n{}\n[1]\nnull\n", false}}) {
    fs::remove_all(*this / "out");
    Into({"x.wav"});
    Write(kLedger, c.text);
    const Outcome outcome = Into({"x.wav", "--resume"});
    EXPECT_EQ(outcome.exit_code, c.known ? 0 : 1) << c.text.substr(0, 200);
    EXPECT_TRUE(!c.known || outcome.out == wanted) << outcome.out;
    EXPECT_EQ(Into({"x.wav", "--resume", "--overwrite"}).out, wanted);
    EXPECT_EQ(Into({"x.wav", "--min-speech", "1.6"}).exit_code, 0);
    EXPECT_EQ(Content(*this / "safe.wav"), "not in the folder");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir_), {}), 3);
  }
  // Lines of an earlier version, which knows no sizes: nothing is finished, but the files are ours.
  fs::remove_all(*this / "out");
  Into({"x.wav"});
  Write("out/x-002.wav", "");
  string old = replaced("\"files\":[", "\"files\":0,\"was\":[");
  old = old.substr(old.find("{\"input\":"));
  const size_t files = old.find("\"files\":");
  old.erase(files, old.find("\"result\"") - files);
  Write(kLedger, old);
  EXPECT_EQ(Into({"x.wav", "--resume"}).out, wanted);
  EXPECT_GT(Load(*this / "out/x-002.wav").size(), 0u);
  // Neither through a link nor to anything but a file.
  fs::rename(*this / kLedger, *this / "elsewhere");
  fs::create_symlink("../elsewhere", *this / kLedger);
  const string before = Content(*this / "elsewhere");
  Outcome outcome = Into({"x.wav"});
  EXPECT_EQ(outcome.exit_code, 1);
  EXPECT_EQ(outcome.err, string("vask: ") + kLedger + ": is a link: remove it or choose another folder\n");
  EXPECT_EQ(Content(*this / "elsewhere"), before);
}

TEST_F(FolderCommand, LetsOneRunWriteAtATime) {
  ASSERT_EQ(mkfifo((*this / "pipe").c_str(), 0600), 0);
  const pid_t first = Start({"detect", kEnergy, "pipe", "-o", "out"});
  const auto wait = [&](const auto& condition) {
    for (int k = 0; k < 20000 && !condition(); ++k) usleep(1000);
  };
  const string bytes = Content(kRoom);
  const int pipe = open((*this / "pipe").c_str(), O_WRONLY | O_CLOEXEC);
  const auto send = [&](size_t from, size_t to) {
    while (from < to) from += static_cast<size_t>(std::max<ssize_t>(write(pipe, &bytes[from], to - from), 0));
  };
  send(0, 100000);  // the first utterance is open
  wait([&] { return fs::exists(*this / "out") && !In("out").empty(); });
  const string holder = "process " + std::to_string(first) + " (vask detect of 1 recording)";
  const auto start = [&](const Names& more) {
    const string run = string("cd '") + dir_.string() +
                       "' && exec '" VASK_COMMAND "' detect --detector=energy '" + kRoom + "' -o out " +
                       (more.empty() ? "" : more[0]) + " > second.out 2> second.err";
    const pid_t child = fork();
    if (child == 0) execl("/bin/sh", "sh", "-c", run.c_str(), nullptr);
    return child;
  };
  const auto status_of = [](pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  };
  EXPECT_EQ(status_of(start({"--no-wait"})), 1);
  EXPECT_EQ(Content(*this / "second.err"),
            "vask: out: " + holder + " is writing to it: wait until it ends or choose another folder\n");
  const string waits = "vask: out: waiting for " + holder + ", which is writing to it\n";
  for (const int signal : {SIGTERM, SIGINT}) {
    fs::remove(*this / "second.err");
    const pid_t second = start({});
    wait([&] { return Content(*this / "second.err") == waits; });
    kill(second, signal);
    EXPECT_EQ(status_of(second), -signal);
  }
  fs::remove(*this / "second.err");
  const pid_t second = start({});
  wait([&] { return Content(*this / "second.err") == waits; });
  EXPECT_EQ(Content(*this / "second.err"), waits);
  EXPECT_EQ(In("out").size(), 1u);  // which the second run has left alone too
  send(100000, bytes.size());
  close(pipe);
  EXPECT_EQ(status_of(first), 0);
  EXPECT_EQ(status_of(second), 0);
  EXPECT_EQ(In("out").size(), 10u);
  EXPECT_TRUE(Content(*this / "out/pipe-001.wav") == Content(*this / "out/room-001.wav"));
  EXPECT_EQ(Into({"--resume", kRoom}).out, Run({"detect", kEnergy, kRoom}).out);
}

}  // namespace
}  // namespace vask::test
