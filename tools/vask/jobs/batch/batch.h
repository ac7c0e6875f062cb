// `vask batch`: listens to what the lines of a manifest name, and writes one record for each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "jobs/batch/clips.h"
#include "jobs/batch/manifest.h"
#include "listen/listen_options.h"
#include "sound/sound_input.h"

namespace vask::command {

constexpr int kExitSomeFailed = 3;  // inputs, whose records say why; the run did what it should

struct FailureLimit {
  std::optional<int64_t> count;
  std::optional<double> percent;
};

struct BatchArguments {
  ManifestOptions manifest;
  ListenOptions options;
  ReadOptions reading;
  ClipOptions clips;
  FailureLimit most_failures;
  std::string records;  // a file of records to be written in another form, instead of a manifest
  std::string output = "-", form = "jsonl", audio = "clean";
  bool resume = false, unordered = false, delivered = false, time = false;
  int32_t jobs = 0;  // 0: one per core
};

// Returns the exit status. Throws UsageError, FatalError, FileError for the manifest, Interruption.
int RunBatch(const BatchArguments& arguments, const ListenSetup& listen);

// The records of a file in another form.
void WriteInForm(const BatchArguments& arguments);

}  // namespace vask::command
