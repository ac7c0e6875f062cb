// Which recording is read, how, and which of its channels; and the options that say so, for every subcommand
// that reads recordings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "sound/wav_header.h"

namespace CLI {
class App;
}

namespace vask::command {

// Hz. At the lowest rate a block of 4096 lasts 4 s; at the 1 Hz of a damaged header it would last an hour.
constexpr int32_t kLowestRate = 1000, kHighestRate = 1'000'000;

constexpr int32_t kMixed = 0, kAllChannels = -1;  // besides the number of a channel, from 1

struct ReadOptions {
  bool raw = false;                           // samples without a header
  std::optional<int32_t> rate, raw_channels;  // of these
  std::string encoding;                       // empty: s16
  std::string channels;                       // mix, each or a number; empty: what the subcommand does

  bool describe_raw() const { return raw || rate || raw_channels || !encoding.empty(); }
  WavForm RawForm() const;  // 16 kHz mono of 16 bits unless they say otherwise
  // The number of the channel, kMixed or kAllChannels.
  int32_t Channel(int32_t by_default = kMixed) const;
  std::string Text() const;  // everything that changes what is heard; empty by default
};

// `each`: what --channels each does, for --help; null if the subcommand has no such thing.
void AddReadOptions(CLI::App& job, ReadOptions& options, const char* each = nullptr);

struct SoundInput {
  // A file's name, or "-" for standard input.
  SoundInput(std::string name, ReadOptions how = {});
  SoundInput(std::string name, ReadOptions how, int32_t one_channel);

  std::string path;
  ReadOptions options;
  int32_t channel = kMixed;
  bool is_command = false;  // path is what a shell runs, and the recording its standard output
};

// "a recording" or "a recording, channel 2", for messages.
std::string NameOf(const std::string& path, int32_t channel);

}  // namespace vask::command
