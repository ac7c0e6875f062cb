// The header of a WAV stream, read sequentially: a pipe cannot be read twice.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace vask::command {

constexpr uint64_t kUntilTheEnd = INT64_MAX;

// A writer into a pipe does not know the length and gives 0 or about the most that a header can say.
constexpr uint32_t kEndlessBytes = 0x7FFFF000;

enum class Coding { kInteger, kFloat, kMulaw, kAlaw };  // the last two of G.711

struct WavForm {
  int32_t rate = 0;  // Hz
  int32_t channels = 0;
  int32_t bytes = 0;  // of a sample
  Coding coding = Coding::kInteger;
  uint64_t data_bytes = 0;  // or kUntilTheEnd
};

// Fills a span with the next bytes; false at the end of the stream.
using TakeBytes = std::function<bool(std::span<uint8_t>)>;

// Reads from after "RIFF" up to the first sample. `name` is for the FileError about what cannot be read.
WavForm ReadWavHeader(const std::string& name, const TakeBytes& take);

// One little-endian sample of such a form, 1.0 = full scale.
double WavSample(const WavForm& form, const uint8_t* bytes);

}  // namespace vask::command
