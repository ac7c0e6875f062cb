// Where a recording's samples come from, at its own rate and with all its channels.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace vask::command {

class SoundSource {
 public:
  virtual ~SoundSource() = default;

  int32_t rate() const { return rate_; }          // Hz
  int32_t channels() const { return channels_; }  // at least 1
  int64_t frames() const { return frames_; }      // one sample of each channel; by the header, 0: unknown

  // Fills `interleaved`, 1.0 = full scale, with what is there: at least one frame, none at the end only.
  // Gives the number of frames. Throws FileError if the recording is damaged.
  virtual size_t Read(std::span<double> interleaved) = 0;

 protected:
  int32_t rate_ = 0;
  int32_t channels_ = 1;
  int64_t frames_ = 0;
};

// A file that libsndfile reads; standard input, WAV or raw 16 kHz 16-bit samples, as it arrives. FileError if
// it is no audio or holds none.
std::unique_ptr<SoundSource> OpenSoundFile(const std::string& path);
std::unique_ptr<SoundSource> OpenStandardInput();

}  // namespace vask::command
