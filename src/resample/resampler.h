// A running conversion of one rate to another: samples go in in pieces of any length and come out when enough
// of what follows them is there. Rates above twice the output's are halved first. In and out: int16 samples.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "resample/filter_bank.h"
#include "resample/rate_filter.h"

namespace vask {

// Half the rate: output m stands at input 2 * m.
class Halver {
 public:
  static constexpr int32_t kMost = 512;  // samples that may go in at once

  void Clear();
  // Returns the number of outputs, at most kMost / 2 + 1.
  int32_t Run(std::span<const int16_t> in, int16_t* out);

 private:
  std::array<int16_t, kMost / 2 + kHalfBandTaps> even_;
  std::array<int16_t, kMost / 2 + kHalfBandTaps + kReadableAfter> odd_;
  int32_t even_count_, odd_count_;
  bool next_is_odd_;
};

class Resampler {
 public:
  bool Open(int32_t in_rate, int32_t out_rate);  // 16000 Hz and another of the nine; false: no memory
  void Close();
  void Clear();

  // Take the first samples of the input, as many as there is room for: at least one if nothing is ready.
  size_t Take(std::span<const int16_t> in);
  // Give what is ready, at most out.size() samples.
  size_t Give(std::span<int16_t> out);
  // The same at the end of the input: silence follows it, and the last output stands before its end.
  size_t GiveRest(std::span<int16_t> out);

  int64_t OutputsInAll() const;  // those that stand before the end of what has been taken

 private:
  static constexpr int32_t kRoom = 1024;  // samples besides a window

  void MakeRoom();
  size_t Enter(std::span<const int16_t> in);

  RateFilter filter_;
  Halver halver_;
  int16_t* samples_;  // at the rate of the filter's input
  int64_t first_;     // position of samples_[0]
  int32_t count_, capacity_;
  int64_t taken_, given_;
  int32_t in_rate_, out_rate_;
  bool halves_;
};

}  // namespace vask
