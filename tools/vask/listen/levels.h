// How loud what was found in a recording is, how far above the background, and how much of it is clipped.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vask::command {

struct SegmentLevels {
  double level_db = 0;  // dB full scale, from start to end: in tenths
  double snr_db = 0;    // that above the noise floor: in tenths
  double clipped = 0;   // share of the recording's own samples at full scale
};

// Follows a recording in frames of 10 ms, of which it keeps the last minute.
class LevelTrack {
 public:
  explicit LevelTrack(int32_t rate);  // Hz, the recording's own

  void Passed(std::span<const double> interleaved,
              int32_t channels);                 // the recording itself, 1.0 = full scale
  void Heard(std::span<const int16_t> samples);  // the same at 16 kHz, without gain; later than it has passed

  // A segment starts at this position at 16 kHz, in the last minute.
  void Start(int64_t start);
  // It ended, or was rejected, which was decided when `heard` samples had been heard. The noise floor is what
  // a tenth of the frames stay below, from 10 s before the start until then, or in the last 50 s.
  SegmentLevels End(int64_t end, int64_t heard) const;

 private:
  // A sum over all frames up to each of the last minute.
  class Sums {
   public:
    Sums();
    void Push(int64_t add);
    int64_t Before(int64_t frame) const;  // the sum of the frames before this one, or the oldest that is kept
    int64_t count() const { return count_; }

   private:
    std::vector<int64_t> sums_;
    int64_t count_ = 0;
  };

  int64_t FloorOf(int64_t first, int64_t last) const;

  int32_t rate_;
  int64_t frames_passed_ = 0, clipping_ = 0;  // of the recording; at full scale in the current 10 ms
  int64_t next_edge_;                         // frames of the recording before the next 10 ms
  int64_t channels_ = 1;
  int64_t power_ = 0;  // sum of squares in the current frame
  int32_t in_frame_ = 0;
  Sums powers_, clipped_;
  int64_t start_ = 0, power_before_ = 0, clipped_before_ = 0;  // of the segment
};

}  // namespace vask::command
