// A sound file as WAV.
#ifndef TOOLS_VASK_SOUND_WAV_WRITER_H_
#define TOOLS_VASK_SOUND_WAV_WRITER_H_

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

#endif  // TOOLS_VASK_SOUND_WAV_WRITER_H_
