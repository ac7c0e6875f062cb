// The kinds of sound file that can be written, by the endings of their names.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vask::command {

struct SoundKind {
  const char* ending;  // small letters
  const char* name;    // for messages
  int container;       // as libsndfile has it
  // What its samples become; 0: what they are in the input. FLAC has no floats: they become 24 bits.
  int coding = 0;
  std::span<const int32_t> rates = {};  // Hz, rising; any if empty
  int32_t most_channels = 1024;
};

// By the ending of `target`; WAV without one, and for "-".
const SoundKind& SoundKindOf(const std::string& target);

// Every ending, for AddOutput().
std::vector<std::string> SoundEndings();

// The lowest of its rates that loses nothing of `rate`, or its highest.
int32_t RateFor(const SoundKind& kind, int32_t rate);

}  // namespace vask::command
