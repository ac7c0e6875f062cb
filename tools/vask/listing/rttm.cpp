// -f rttm: NIST's rich transcription time marks. Who speaks is not known: there is one speaker, "speech".
#include <algorithm>

#include "listing/intervals.h"
#include "listing/recording_names.h"

namespace vask::command {
namespace {

class RttmListing : public IntervalListing {
 public:
  using IntervalListing::IntervalListing;

 protected:
  std::string OpenIntervals(const Recording& recording) override {
    name_ = names_.Of(recording) + " " + std::to_string(std::max(recording.channel, 1));
    return "SPKR-INFO " + name_ + " <NA> <NA> <NA> unknown speech <NA> <NA>\n";
  }

  std::string AddInterval(const Interval& interval) override {
    return "SPEAKER " + name_ + " " + Seconds(interval.start) + " " + Seconds(interval.end - interval.start) +
           " <NA> <NA> speech <NA> <NA>\n";
  }

 private:
  RecordingNames names_;
  std::string name_;  // and the channel
};

}  // namespace

std::unique_ptr<Listing> MakeRttmListing(ListingEdges edges) { return std::make_unique<RttmListing>(edges); }

}  // namespace vask::command
