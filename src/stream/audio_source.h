// The audio that a stream with the learned detector delivers: the input as it is, cleaned or filtered for
// listening. In and out: 160 samples; the output lags the input by whole frames.
#pragma once

#include <cstdint>
#include <span>

#include "engine/cleaning.h"
#include "listening/listening.h"

namespace vask {

class AudioSource {
 public:
  // `audio`: VASK_STREAM_CLEAN ... False if there is no memory.
  bool Open(int32_t audio, float floor_db, float mix);
  void Close();
  void Clear();

  int64_t delay() const;  // frames

  // Take one frame; returns that of delay() frames before, which stays until the next call.
  std::span<const int16_t, kFrame> Filter(std::span<const int16_t, kFrame> frame);

  // After every second frame: how probable speech was 0.1 s ago, Q15.
  void LearnNoise(int16_t speech_100ms_ago);

  float high_gain() const;

 private:
  int32_t audio_;
  Cleaner cleaner_;
  Listening listening_;
  std::array<int16_t, kFrame> filtered_;
};

}  // namespace vask
