// `vask selftest`: whether this machine computes the same bits as every other one.
#include <vask/model.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <optional>
#include <sstream>

#include "dsp/level.h"
#include "jobs/jobs.h"
#include "jobs/selftest/expected.h"
#include "jobs/selftest/stages.h"
#include "replay/player.h"
#include "terminal/errors.h"
#include "terminal/signals.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(For whom: whoever has built the program, or runs it on a new machine.
Output: one line per stage, its name and the digest of what it gave for built-in signals. The last line says
whether they are the same as everywhere, or which is the first that differs. The stages come first, then
streams in many settings, whose events and audio are compared.
The exit status is 1 if something differs.
Examples:
  vask selftest
  vask selftest | diff <(vask selftest --list) -
  for level in plain portable avx2; do vask --cpu $level selftest -q; done)";

struct SelftestArguments {
  bool is_quiet = false, lists = false;
};

std::string LineOf(std::string name, const std::string& digest) {
  constexpr size_t kColumn = 40;
  name.resize(std::max(kColumn, name.size() + 1), ' ');
  return name + digest + "\n";
}

// What is compared, and the first of it that differs.
class Comparison {
 public:
  explicit Comparison(bool is_quiet) : is_quiet_(is_quiet) {}

  void Add(const std::string& name, const std::string& digest, const std::string& expected,
           const std::string& got) {
    if (!is_quiet_) WriteOutput(LineOf(name, digest));
    ++count_;
    if (expected != got && !difference_)
      difference_ = name + " differs: expected " + expected + ", got " + got;
  }

  // Says what came out. Returns the exit status.
  int Conclude() const {
    const std::string at = std::string(" (level ") + NameOf(LevelInForce()) + ")\n";
    WriteOutput(
        (difference_ ? *difference_ : std::to_string(count_) + " digests: the same bits as everywhere") + at);
    return difference_ ? kExitFailed : EXIT_SUCCESS;
  }

 private:
  bool is_quiet_;
  int count_ = 0;
  std::optional<std::string> difference_;
};

std::map<std::string, std::string> DigestsByName() {
  std::map<std::string, std::string> digests;
  std::istringstream lines{std::string(ExpectedDigests())};
  for (std::string line; std::getline(lines, line);) {
    const size_t name = line.find("  "), digest = line.rfind(' ');
    if (name != line.npos) digests[line.substr(0, name)] = line.substr(digest + 1);
  }
  return digests;
}

std::string DigestOf(const replay::Lines& lines) {
  Digest digest;
  for (const std::string& line : lines) digest.AddText(line + "\n");
  return digest.Text();
}

int Selftest(const SelftestArguments& arguments) {
  const bool has_model = vask_model_digest(nullptr) != 0;
  Comparison comparison(arguments.is_quiet);
  const std::map<std::string, std::string> expected = DigestsByName();
  for (const Stage& stage : Stages()) {
    if (stage.needs_model && !has_model) continue;
    CheckSignals();
    Digest digest;
    stage.run(digest);
    const auto known = expected.find(stage.name);
    const std::string got = digest.Text();
    comparison.Add(stage.name, got, known != expected.end() ? known->second : "none", got);
  }
  replay::ForEachCase(ReplayedCases(), {}, [&](const replay_case& c, const replay::Lines& lines) {
    if (c.setup.detector == VASK_STREAM_LEARNED && !has_model) return;
    CheckSignals();
    const replay::Lines answers = replay::Play(c);
    const auto [line, got] = replay::FirstDifference(lines, answers);
    comparison.Add(std::string("stream ") + c.name, DigestOf(answers), line, got);
  });
  if (!has_model) Note("no model is built in: what needs the learned detector is left out");
  return comparison.Conclude();
}

// What is the same everywhere.
int List() {
  WriteOutput(ExpectedDigests());
  replay::ForEachCase(ReplayedCases(), {}, [](const replay_case& c, const replay::Lines& lines) {
    WriteOutput(LineOf(std::string("stream ") + c.name, DigestOf(lines)));
  });
  return EXIT_SUCCESS;
}

}  // namespace

Job SelftestJob(CLI::App& app) {
  const auto arguments = std::make_shared<SelftestArguments>();
  CLI::App* selftest =
      app.add_subcommand("selftest", "Check that this machine computes the same bits as others");
  selftest->footer(kFooter);
  selftest->add_flag("-q,--quiet", arguments->is_quiet, "Print only the last line");
  selftest->add_flag("--list", arguments->lists, "Print the digests that are expected, and compute nothing");
  return {selftest, [arguments] { return arguments->lists ? List() : Selftest(*arguments); }};
}

}  // namespace vask::command
