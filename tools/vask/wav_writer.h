// A 16 kHz mono 16-bit WAV file that is there whole or not at all.
#ifndef TOOLS_VASK_WAV_WRITER_H_
#define TOOLS_VASK_WAV_WRITER_H_

#include <cstdint>
#include <span>
#include <string>

#include "output_file.h"

namespace vask::command {

// Without Commit() nothing is left. Every failure is a FileError.
class WavWriter {
 public:
  explicit WavWriter(const std::string& target);

  void Write(std::span<const int16_t> samples);
  void Commit();

  int64_t samples() const { return samples_; }

 private:
  OutputFile file_;
  int64_t samples_ = 0;
};

}  // namespace vask::command

#endif  // TOOLS_VASK_WAV_WRITER_H_
