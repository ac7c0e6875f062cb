// Where a recording's samples come from, at its own rate and with all its channels.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "files/input_file.h"
#include "sound/sample_form.h"
#include "sound/sound_input.h"

namespace vask::command {

class SoundSource {
 public:
  virtual ~SoundSource() = default;

  int32_t rate() const { return rate_; }          // Hz
  int32_t channels() const { return channels_; }  // at least 1
  SampleForm form() const { return form_; }       // in the file
  int64_t frames() const { return frames_; }      // available, one sample of each channel; 0: unknown

  // Once the end has been read: frames that the header promised, 0 if it does not say, and why the recording
  // cannot be read any further, empty if it can.
  int64_t promised() const { return promised_; }
  const std::string& damage() const { return damage_; }

  // Fills `interleaved`, 1.0 = full scale, with what is available: at least one frame, except at the end.
  // Returns the number of frames. Throws FileError if there are none at all.
  virtual size_t Read(std::span<double> interleaved) = 0;

 protected:
  int32_t rate_ = 0;
  int32_t channels_ = 1;
  SampleForm form_ = SampleForm::kInt16;
  int64_t frames_ = 0;
  int64_t promised_ = 0;
  std::string damage_;
};

// A file, whatever its kind; standard input, as it arrives, which a signal ends. FileError if it is not audio
// or holds none.
std::unique_ptr<SoundSource> OpenSoundFile(const std::string& path, const ReadOptions& options);
std::unique_ptr<SoundSource> OpenStandardInput(const ReadOptions& options);

// What the pipe delivers, as it arrives.
std::unique_ptr<SoundSource> OpenPipe(std::unique_ptr<InputFile> input, const ReadOptions& options);

}  // namespace vask::command
