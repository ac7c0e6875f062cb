// The forms that show one interval per segment, in whole milliseconds: all but text, jsonl and csv.
#pragma once

#include <cstdint>
#include <string>

#include "listing/listing.h"

namespace vask::command {

int64_t Milliseconds(double seconds);
std::string Seconds(int64_t milliseconds);  // with three decimals
// Hours, minutes and seconds, as subtitles give them: 00:01:02.345 with that point.
std::string Timestamp(int64_t milliseconds, char point);

// Lists intervals in order that do not overlap: each begins where the previous one ends, or later.
class IntervalListing : public Listing {
 public:
  explicit IntervalListing(ListingEdges edges) : edges_(edges) {}

  std::string Open(const Recording& recording) override;
  std::string Add(const Recording& recording, const Segment& segment) override;

 protected:
  struct Interval {
    int64_t start, end;  // ms; at least 1 apart
    int number;          // of the utterance
    std::string reason;  // of what was rejected
  };

  virtual bool ShowsRejected() const { return false; }
  virtual std::string OpenIntervals(const Recording&) { return ""; }
  virtual std::string AddInterval(const Interval& interval) = 0;

 private:
  ListingEdges edges_;
  int64_t end_ = 0;  // of the previous interval
};

}  // namespace vask::command
