// -f webvtt: one cue per utterance, with its number as identifier, and the channel as its voice.
#include "listing/intervals.h"

namespace vask::command {
namespace {

class WebvttListing : public IntervalListing {
 public:
  using IntervalListing::IntervalListing;
  std::string EndingOfOne() const override { return ".vtt"; }

 protected:
  std::string OpenIntervals(const Recording& recording) override {
    if (recording.channel > 0) voice_ = "<v Channel " + std::to_string(recording.channel) + ">";
    return "WEBVTT\n";
  }

  std::string AddInterval(const Interval& interval) override {
    const std::string number = std::to_string(interval.number);
    return "\n" + number + "\n" + Timestamp(interval.start, '.') + " --> " + Timestamp(interval.end, '.') +
           "\n" + voice_ + "Utterance " + number + "\n";
  }

 private:
  std::string voice_;
};

}  // namespace

std::unique_ptr<Listing> MakeWebvttListing(ListingEdges edges) {
  return std::make_unique<WebvttListing>(edges);
}

}  // namespace vask::command
