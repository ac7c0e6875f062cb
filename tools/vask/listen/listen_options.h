// The options that say how a stream listens, for every subcommand that finds utterances.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace vask::command {

struct ListenOptions {
  std::string preset, profile;
  std::optional<double> pad_start, pad_end, min_speech, max_segment, hangover;  // s
  std::optional<int32_t> min_voiced, max_tones, threshold;  // frames, percent, the detector's units
};

void AddListenOptions(CLI::App& command, ListenOptions& options);

// Whether --profile names a file: not "general", a device's number or nothing.
bool NamesProfileFile(const std::string& profile);

// Options of a stream that delivers no audio yet. The profile overrides the preset, and the rest override
// both. Throws UsageError, or FileError for a profile file.
vask_stream_options StreamOptionsOf(const ListenOptions& options, int32_t device, int32_t os);

}  // namespace vask::command
