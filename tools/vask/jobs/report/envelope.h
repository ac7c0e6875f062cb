// The outline of a waveform: the largest magnitude of each step, as a byte.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vask::command {

// A byte is the logarithm of the magnitude, so that quiet sound is as precise as loud: 0 is silence; 1 to 255
// are 1 to 32768 in equal ratios, 0.36 dB apart.
uint8_t HeightCode(int32_t magnitude);

class Envelope {
 public:
  explicit Envelope(int32_t step) : step_(step) {}  // samples per value

  void Add(std::span<const int16_t> samples);
  void Finish();  // ends the value that is begun; nothing may be added after it

  const std::vector<uint8_t>& values() const { return values_; }

 private:
  int32_t step_;
  int32_t filled_ = 0;  // samples in the value that is begun
  int32_t largest_ = 0;
  std::vector<uint8_t> values_;
};

}  // namespace vask::command
