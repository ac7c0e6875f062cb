// A sound file as WAV.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "files/output_file.h"
#include "sound/sound_writer.h"

namespace vask::command {

class WavWriter : public SoundWriter {
 public:
  explicit WavWriter(const std::string& target);

  void Write(std::span<const int16_t> samples) override;
  void Commit() override;

  int64_t samples() const { return samples_; }

 private:
  OutputFile file_;
  int64_t samples_ = 0;
};

}  // namespace vask::command
