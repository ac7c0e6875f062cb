// Any recording as 16 kHz mono 16-bit samples, a block at a time.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "sound/channel_reader.h"
#include "sound/resampler.h"

namespace vask::command {

// Channels are averaged unless one is chosen, and rates other than 16 kHz resampled; 16 kHz mono 16-bit
// samples pass through bit for bit. Memory does not grow with the recording.
class AudioReader {
 public:
  // As ChannelReader does.
  explicit AudioReader(const SoundInput& input);

  // As ChannelReader does: the recording at its own rate, with the channels that are about to be mixed.
  void Show(ChannelReader::Witness witness) { source_.Show(std::move(witness)); }

  // Fills `out` unless the recording ends first; returns the number of samples, 0 at the end.
  size_t Read(std::span<int16_t> out);
  // The same, but does not wait for more than one sample.
  size_t ReadSome(std::span<int16_t> out);

  // Length in samples at 16 kHz according to the file's header; 0 if unknown, as with most pipes.
  int64_t ExpectedSamples() const;

  int32_t rate() const { return source_.rate(); }  // Hz, the recording's own
  int32_t channels() const { return source_.channels_in_file(); }
  int64_t frames_read() const { return source_.frames_read(); }  // at that rate

  std::optional<FileError> Shortfall() const { return source_.Shortfall(); }
  std::optional<std::string> Cancellation() const { return source_.Cancellation(); }
  void Conclude() const { source_.Conclude(); }

 private:
  size_t ReadMono(std::span<double> out);  // at the recording's own rate, 1.0 = full scale
  size_t Resample(std::span<double> out);

  ChannelReader source_;
  std::optional<Resampler> resampler_;  // none at 16 kHz
  std::vector<double> mono_;            // waits for the resampler
  size_t mono_begin_ = 0, mono_end_ = 0;
  std::vector<double> converted_;  // at 16 kHz
};

}  // namespace vask::command
