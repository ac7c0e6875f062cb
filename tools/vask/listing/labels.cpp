// -f labels: a label track as Audacity imports it, with the number of the utterance as text.
#include "listing/intervals.h"

namespace vask::command {
namespace {

class LabelListing : public IntervalListing {
 public:
  using IntervalListing::IntervalListing;
  std::string EndingOfOne() const override { return ".txt"; }

 protected:
  bool ShowsRejected() const override { return true; }

  std::string AddInterval(const Interval& interval) override {
    const std::string text =
        interval.reason.empty() ? std::to_string(interval.number) : "rejected " + interval.reason;
    return Seconds(interval.start) + "\t" + Seconds(interval.end) + "\t" + text + "\n";
  }
};

}  // namespace

std::unique_ptr<Listing> MakeLabelListing(ListingEdges edges) {
  return std::make_unique<LabelListing>(edges);
}

}  // namespace vask::command
