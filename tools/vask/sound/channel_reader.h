// Any recording at its own rate with all its channels, a block at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "sound/sound_source.h"
#include "terminal/errors.h"

namespace vask::command {

class ChannelReader {
 public:
  // A file's name, or "-" for standard input. Throws FileError if it is missing, empty, a directory,
  // unreadable or not audio, or if its rate is out of range.
  explicit ChannelReader(const std::string& path);

  // Sees all that is read, before anything else does.
  using Witness = std::function<void(std::span<const double> interleaved)>;
  void Show(Witness witness) { witness_ = std::move(witness); }

  // Fills `interleaved`, 1.0 = full scale, with what is available; returns the number of frames, 0 at the
  // end.
  size_t Read(std::span<double> interleaved);

  const std::string& name() const { return name_; }  // for messages
  int32_t rate() const { return source_->rate(); }   // Hz
  int32_t channels() const { return source_->channels(); }
  SampleForm form() const { return source_->form(); }
  int64_t expected() const {
    return source_->frames();
  }  // frames by the header; 0: unknown, as with most pipes
  int64_t frames_read() const { return frames_read_; }

  // Once all has been read: what is wrong if the recording is shorter than its header says, or damaged from
  // there on. What came before may be used.
  std::optional<FileError> Shortfall() const;
  void CheckWhole() const;  // throws it

 private:
  std::string name_;
  std::unique_ptr<SoundSource> source_;
  Witness witness_;
  int64_t frames_read_ = 0;
  bool ended_ = false;
};

}  // namespace vask::command
