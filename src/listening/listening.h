// The listening path: noise reduction for people. A Wiener filter of 20 ms windows that overlap by half,
// whose noise is learned where the learned detector says that nobody speaks. In and out: 160 samples, 16
// bits.
#pragma once

#include <cstdint>
#include <span>

#include "dsp/sizes.h"

namespace vask {

struct ListeningState;

class Listening {
 public:
  static constexpr int32_t kDelay = kFrame;  // samples from the input to the output

  bool Open(float floor_db, float mix);  // false if there is no memory
  void Close();
  void Clear();  // as opened; harmless while it is not open

  // Filter one frame; out lags it by kDelay. `out` may be `frame`.
  void Filter(std::span<const int16_t, kFrame> frame, std::span<int16_t, kFrame> out);

  // After every second frame: how probable speech was, Q15, in the step (two frames) that ended 10 frames
  // ago.
  void LearnNoise(int16_t speech_100ms_ago);

  // What the bands near 8 kHz of the newest frame were multiplied by; 1 while it is not open.
  float high_gain() const;

 private:
  ListeningState* state_ = nullptr;
};

}  // namespace vask
