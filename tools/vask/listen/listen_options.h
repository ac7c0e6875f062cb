// The options that say how a stream listens, for every subcommand that finds utterances.
#pragma once

#include <vask/model.h>
#include <vask/stream.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "listen/joiner.h"

namespace CLI {
class App;
}

namespace vask::command {

constexpr int32_t kUsualDevice = 2, kUsualOs = 2;  // the library's defaults

struct ListenOptions {
  std::string detector;               // learned or energy; empty: what the profile says, or learned
  std::string model;                  // a file; empty: the built-in one
  std::string preset, profile, gain;  // of the energy detector; the gain in dB, or "auto"
  std::optional<double> pad_start, pad_end, min_speech, max_segment, pause;  // s
  std::optional<double> join;                                                // s; of some subcommands
  std::optional<double> probability;                                         // of the learned detector
  std::optional<int32_t> min_voiced, max_tones, threshold;  // frames, percent, the energy detector's units
};

void AddModelOption(CLI::App& command, ListenOptions& options);
// That and --detector.
void AddDetectorOptions(CLI::App& command, ListenOptions& options);
// These and all others.
void AddListenOptions(CLI::App& command, ListenOptions& options);

// --join, for those that join utterances.
void AddJoinOption(CLI::App& command, ListenOptions& options);

// Whether --profile names a file: not "general", a device's number or nothing.
bool NamesProfileFile(const std::string& profile);

// The files that the options name: none of them may be written to.
std::vector<std::string> FilesOf(const ListenOptions& options);

// The setup of streams, and the model that it needs: keep it while they are open.
class ListenSetup {
 public:
  // The streams deliver no audio yet. The profile overrides the preset, and the rest override both. Throws
  // UsageError, or FileError for a profile file or a model.
  ListenSetup(const ListenOptions& given, int32_t device, int32_t os);

  vask_stream_setup setup;
  JoinRules joining;  // for those that join utterances, and widen spans beyond what streams deliver

  bool is_learned() const { return setup.detector == VASK_STREAM_LEARNED; }
  // Whether a listing of single intervals shows the edge of the span rather than that of the speech.
  bool shows_span_start() const { return shows_span_start_; }
  bool shows_span_end() const { return shows_span_end_; }

 private:
  struct CloseModel {
    void operator()(vask_model* model) const { vask_model_close(model); }
  };

  std::unique_ptr<vask_model, CloseModel> model_;
  bool shows_span_start_, shows_span_end_;
};

}  // namespace vask::command
