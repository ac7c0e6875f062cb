// A sound file that appears complete or not at all.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "format.h"
#include "sound/sample_form.h"

namespace vask::command {

struct SoundForm {
  int32_t rate = kRateHz, channels = 1;
  SampleForm samples = SampleForm::kInt16;
};

// Without Commit() nothing is left. Every failure is a FileError.
class SoundWriter {
 public:
  virtual ~SoundWriter() = default;
  virtual void Write(std::span<const int16_t> samples) = 0;  // to a file of 16 bits
  virtual void Write(
      std::span<const double> interleaved) = 0;  // 1.0 = full scale; rounded, and limited to it
  virtual void Commit() = 0;
};

// FLAC holds 8 channels and integers of up to 24 bits: floats are rounded to those.
std::unique_ptr<SoundWriter> MakeWavWriter(const std::string& target, const SoundForm& form = {});
std::unique_ptr<SoundWriter> MakeFlacWriter(const std::string& target, const SoundForm& form = {});

}  // namespace vask::command
