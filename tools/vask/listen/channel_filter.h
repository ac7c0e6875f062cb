// One channel of a recording through the listening path, at the channel's own rate and without delay.
//
// What lies below 8 kHz goes through a stream at 16 kHz and 16 bits. The rest, with what the 16 bits left
// out, follows the gain of the highest bands. So a channel that is not filtered comes out as it was.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vask/stream.hpp>
#include <vector>

#include "sound/resampler.h"

namespace vask::command {

class ChannelFilter {
 public:
  // `name` is for messages, `setup` that of a continuous stream with VASK_STREAM_LISTENING.
  ChannelFilter(const std::string& name, int32_t rate, const vask_stream_setup& setup);

  // Takes samples, 1.0 = full scale; an empty span ends the channel.
  void Take(std::span<const double> samples);

  // What is ready, from its first sample on; Drop() takes it away.
  std::span<const double> ready() const { return ready_; }
  void Drop(size_t samples);

 private:
  void Filter(std::span<const double> low);
  void FilterFrame();
  void Add();
  double GainAt(int64_t position) const;

  Stream stream_;
  int32_t rate_;
  std::optional<Resampler> down_, up_low_, up_filtered_;  // none at 16 kHz
  std::vector<int16_t> frame_;                            // not yet whole
  std::vector<double> whole_, low_, filtered_;            // at the channel's rate, from position done_ on
  std::vector<float> gains_;                              // of the highest bands at each frame's first sample
  int64_t first_gain_ = 0;                                // the frame of gains_[0]
  int64_t done_ = 0;                                      // samples that are ready or have been dropped
  bool is_over_ = false;
  std::vector<double> ready_;
};

}  // namespace vask::command
