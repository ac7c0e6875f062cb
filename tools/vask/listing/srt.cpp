// -f srt: SubRip subtitles, one per utterance, with its number as text.
#include "listing/intervals.h"

namespace vask::command {
namespace {

class SrtListing : public IntervalListing {
 public:
  using IntervalListing::IntervalListing;
  std::string EndingOfOne() const override { return ".srt"; }

 protected:
  std::string OpenIntervals(const Recording&) override {
    count_ = 0;
    return "";
  }

  std::string AddInterval(const Interval& interval) override {
    return std::to_string(++count_) + "\n" + Timestamp(interval.start, ',') + " --> " +
           Timestamp(interval.end, ',') + "\nUtterance " + std::to_string(interval.number) + "\n\n";
  }

 private:
  int count_ = 0;  // players expect no gaps
};

}  // namespace

std::unique_ptr<Listing> MakeSrtListing(ListingEdges edges) { return std::make_unique<SrtListing>(edges); }

}  // namespace vask::command
