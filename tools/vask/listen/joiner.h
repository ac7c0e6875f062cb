// What becomes of the segments of a stream: utterances that lie close are joined, and spans are widened
// beyond what the stream delivers.
#pragma once

#include <optional>
#include <vector>

#include "listing/listing.h"

namespace vask::command {

// Seconds. Without any of them segments pass as they come.
struct JoinRules {
  double join = 0;                    // utterances closer than this become one
  double pad_start = 0, pad_end = 0;  // before the start and after the end, if more than the stream delivers
  bool any() const { return join > 0 || pad_start > 0 || pad_end > 0; }
};

class Joiner {
 public:
  // The rate is that of the recording, Hz.
  Joiner(const JoinRules& rules, int32_t rate) : rules_(rules), rate_(rate) {}

  // A segment in the order of the recording, without a number; returns those that are settled by it.
  std::vector<Segment> Take(const Segment& segment);
  // No segment is open, and so many seconds have been heard: what is settled by that.
  std::vector<Segment> Settle(double heard);
  // The recording is over, and so long.
  std::vector<Segment> End(double length);

 private:
  bool Joins(const Segment& next) const;
  void Join(const Segment& next);
  void Widen(Segment& segment, double latest_end);
  std::vector<Segment> Release(double latest_end);

  JoinRules rules_;
  int32_t rate_;
  std::optional<Segment> last_;    // an utterance that may yet be joined
  std::vector<Segment> rejected_;  // after it
  double end_ = 0;                 // of the span before it
};

}  // namespace vask::command
