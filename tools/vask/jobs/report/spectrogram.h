// Levels over time and frequency: columns of 128 bands of 62.5 Hz, in bytes of 1 dB.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "format.h"
#include "library/transform.h"

namespace vask::command {

class Spectrogram {
 public:
  static constexpr int32_t kBands = 128;
  static constexpr int32_t kLowestDb = -120;  // byte 0, and anything below; a sine at full scale is 0 dB

  explicit Spectrogram(int32_t frames);  // of 10 ms per column, whose powers are averaged

  void Add(std::span<const int16_t> samples);
  void Finish();  // ends the column that is begun; nothing may be added after it

  const std::vector<uint8_t>& values() const { return values_; }  // column after column, low bands first

 private:
  static constexpr int32_t kPoints = kTransformPoints;

  void AddFrame();
  void EndColumn();

  int32_t frames_;
  int32_t taken_ = 0;  // frames in the column that is begun
  std::array<int32_t, kPoints> window_;
  std::array<int16_t, kPoints> samples_ = {};  // the window is centred on its frame
  int32_t fresh_;                              // samples still needed for the next frame
  std::array<double, kBands> power_ = {};
  std::vector<uint8_t> values_;
};

}  // namespace vask::command
