// A 16 kHz mono 16-bit sound file that appears complete or not at all.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace vask::command {

// Without Commit() nothing is left. Every failure is a FileError.
class SoundWriter {
 public:
  virtual ~SoundWriter() = default;
  virtual void Write(std::span<const int16_t> samples) = 0;
  virtual void Commit() = 0;
};

std::unique_ptr<SoundWriter> MakeWavWriter(const std::string& target);
std::unique_ptr<SoundWriter> MakeFlacWriter(const std::string& target);

}  // namespace vask::command
