// A sound file that appears complete or not at all, or a WAV stream on standard output.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "format.h"
#include "sound/sample_form.h"
#include "sound/sound_kind.h"

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

// Of the kind that the target's name says, at a rate that it can have; "-" is standard output.
std::unique_ptr<SoundWriter> MakeSoundWriter(const std::string& target, const SoundForm& form = {});

// Its parts: WAV, and the others, through libsndfile.
std::unique_ptr<SoundWriter> MakeWavWriter(const std::string& target, const SoundForm& form);
std::unique_ptr<SoundWriter> MakeSndfileWriter(const std::string& target, const SoundKind& kind,
                                               const SoundForm& form);

}  // namespace vask::command
