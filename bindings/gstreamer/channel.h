// One channel of vaskdenoise: as many samples out as in, at the same rate and in the same places. 1.0 = full
// scale.
#pragma once

#include <vask/stream.hpp>

#include <cstdint>
#include <span>
#include <vector>

namespace vask::gst {

class Channel {
 public:
  // `setup` is that of a continuous stream. The noise reduction ends at 8 kHz; with `keeps_highs` what lies
  // above is kept and follows the gain of the highest bands.
  Channel(const vask_stream_setup& setup, bool keeps_highs);
  explicit operator bool() const { return static_cast<bool>(filtered_) && (!keeps_highs_ || dry_); }

  // False: there is no memory, and the channel is of no more use.
  bool Take(std::span<const float> samples);
  bool Drain();  // ends the input: all that has been taken comes out
  void Reset();

  std::span<const float> ready() const { return ready_; }
  void Drop(size_t samples);

 private:
  bool TakeBlock(std::span<const float> samples);
  void Collect();

  Stream filtered_;
  bool keeps_highs_;
  Stream dry_;                                    // the same without a filter: what lies below 8 kHz
  size_t in_block_ = 0;                           // samples since the last look at the gain
  float gain_ = 1;                                // of the highest bands, at the newest sample that came out
  std::vector<float> whole_, low_, out_, gains_;  // from the oldest sample that is not ready
  std::vector<int16_t> integers_;
  std::vector<float> ready_;
};

}  // namespace vask::gst
