// The outline of a waveform: the largest magnitude of each step, as a byte.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vask::command {

class Envelope {
 public:
  explicit Envelope(int32_t step) : step_(step) {}  // samples per value

  void Add(std::span<const int16_t> samples);

  const std::vector<uint8_t>& values() const { return values_; }  // 255: full scale

 private:
  int32_t step_;
  int32_t filled_ = 0;  // samples in the last value; 0: none is begun
  std::vector<uint8_t> values_;
};

}  // namespace vask::command
