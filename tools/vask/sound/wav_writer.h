// A sound file as WAV.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "files/output_file.h"
#include "sound/sound_writer.h"

namespace vask::command {

class WavWriter : public SoundWriter {
 public:
  explicit WavWriter(const std::string& target, const SoundForm& form = {});

  void Write(std::span<const int16_t> samples) override;
  void Write(std::span<const double> interleaved) override;
  void Commit() override;

  int64_t samples() const { return samples_; }  // of all channels

 private:
  std::vector<uint8_t> Header() const;
  void Append(const std::vector<uint8_t>& bytes, size_t samples);

  OutputFile file_;
  SoundForm form_;
  int64_t samples_ = 0;
};

}  // namespace vask::command
