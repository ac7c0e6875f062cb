// -f kaldi: the file `segments` of a Kaldi data folder. Its readers expect all of it sorted by bytes, so it
// is held back until the end of the run.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "listing/intervals.h"
#include "listing/recording_names.h"

namespace vask::command {
namespace {

class KaldiListing : public IntervalListing {
 public:
  using IntervalListing::IntervalListing;

  std::string Close(const Recording&) override {
    kept_ = lines_.size();
    return "";
  }

  std::string End() override {
    lines_.resize(kept_);
    std::sort(lines_.begin(), lines_.end());
    std::string all;
    for (const std::string& line : lines_) all += line;
    return all;
  }

 protected:
  std::string OpenIntervals(const Recording& recording) override {
    lines_.resize(kept_);  // drops those of a recording that failed
    name_ = names_.Of(recording);
    channel_ = recording.channel;
    return "";
  }

  std::string AddInterval(const Interval& interval) override {
    std::string channel, place;
    if (channel_ > 0) {
      channel = std::string("-ch") + std::to_string(channel_);
      place = std::string(" ") + std::to_string(channel_ - 1);  // counted from 0
    }
    // Of equal width, so that sorting keeps the utterances of a recording in order.
    char number[16];
    std::snprintf(number, sizeof number, "-%06d ", interval.number);
    lines_.push_back(name_ + channel + number + name_ + " " + Seconds(interval.start) + " " +
                     Seconds(interval.end) + place + "\n");
    return "";
  }

 private:
  RecordingNames names_;
  std::string name_;
  int32_t channel_ = 0;
  std::vector<std::string> lines_;
  size_t kept_ = 0;  // lines of recordings that are finished
};

}  // namespace

std::unique_ptr<Listing> MakeKaldiListing(ListingEdges edges) {
  return std::make_unique<KaldiListing>(edges);
}

}  // namespace vask::command
