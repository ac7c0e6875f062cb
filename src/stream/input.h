// The input of a stream: what is written at its own rate becomes frames at 16 kHz, and positions at 16 kHz
// become positions of the input. In: int16 samples in pieces of any length. Out: frames of 160.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "dsp/sizes.h"
#include "resample/resampler.h"

namespace vask {

class Input {
 public:
  bool Open(int32_t rate);  // Hz; false if there is no memory
  void Close();
  void Clear();

  // Take samples until the frame is full; returns their number.
  size_t Take(std::span<const int16_t> samples);
  bool is_full() const { return count_ == kFrame; }
  // The frame, filled up with what is left at the end of the input and then with silence. The next one
  // begins.
  std::array<int16_t, kFrame> TakeFrame(bool is_end);

  // Samples at another rate that stand before the end of what has been taken.
  int64_t LengthAt(int32_t rate) const { return (taken_ * rate + rate_ - 1) / rate_; }

  // Of a position at 16 kHz; -1 stands for none.
  int64_t Position(int64_t at) const;

 private:
  Resampler resampler_;
  std::array<int16_t, kFrame> frame_;
  int32_t count_;  // samples in the frame
  int64_t taken_;  // of the input
  int32_t rate_;
  bool resamples_;
};

}  // namespace vask
