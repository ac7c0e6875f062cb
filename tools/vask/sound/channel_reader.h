// Any recording at its own rate, with all its channels, one of them or their mean, a block at a time.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "sound/sound_input.h"
#include "sound/sound_source.h"
#include "terminal/errors.h"

namespace vask::command {

class ChannelReader {
 public:
  // Throws FileError if it is missing, empty, a directory, unreadable or not audio, if its rate is out of
  // range, or if it has no such channel.
  explicit ChannelReader(const SoundInput& input);

  // Sees the channels that are delivered, before any are mixed.
  using Witness = std::function<void(std::span<const double> interleaved, int32_t channels)>;
  void Show(Witness witness) { witness_ = std::move(witness); }

  // Fills `interleaved`, 1.0 = full scale, with what is available; returns the number of frames, 0 at the
  // end.
  size_t Read(std::span<double> interleaved);

  const std::string& name() const { return name_; }                                        // for messages
  int32_t rate() const { return source_->rate(); }                                         // Hz
  int32_t channels() const { return channel_ == kAllChannels ? source_->channels() : 1; }  // as delivered
  int32_t channels_in_file() const { return source_->channels(); }
  SampleForm form() const { return source_->form(); }
  int64_t expected() const {
    return source_->frames();
  }  // frames by the header; 0: unknown, as with most pipes
  int64_t frames_read() const { return frames_read_; }

  // Once all has been read: what is wrong if the recording is shorter than its header says, or damaged from
  // there on. What came before may be used.
  std::optional<FileError> Shortfall() const;
  // And what to say of a mix that is far below its channels, since they cancel each other; with the name.
  std::optional<std::string> Cancellation() const;
  void Conclude() const;  // says that on standard error, and throws the shortfall

 private:
  size_t ReadOne(std::span<double> out);

  std::string name_;
  std::unique_ptr<SoundSource> source_;
  Witness witness_;
  int32_t channel_;
  std::vector<double> all_;                     // a block of all channels, to choose from
  double power_of_mix_ = 0, power_of_all_ = 0;  // sums of squares
  int64_t frames_read_ = 0;
  bool ended_ = false;
};

// One input for each channel of the recording, which is opened once to count them. Throws FileError, also for
// what cannot be read more than once.
std::vector<SoundInput> EachChannel(const std::string& path, const ReadOptions& options);

}  // namespace vask::command
