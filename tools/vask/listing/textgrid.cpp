// -f textgrid: Praat's text format, one tier of intervals from 0 to the end of the recording. Those of the
// utterances hold their numbers; those in between are empty.
#include <algorithm>

#include "listing/intervals.h"

namespace vask::command {
namespace {

class TextGridListing : public IntervalListing {
 public:
  using IntervalListing::IntervalListing;
  std::string EndingOfOne() const override { return ".TextGrid"; }

  std::string Close(const Recording& recording) override {
    // An interval has a length, even if the recording has none.
    const int64_t length = std::max<int64_t>({Milliseconds(recording.seconds), end_, 1});
    if (end_ < length) Append(length, "");
    const std::string limits = "xmin = 0\nxmax = " + Seconds(length) + "\n";
    const std::string channel =
        recording.channel > 0 ? " of channel " + std::to_string(recording.channel) : "";
    const std::string tier_limits = "        xmin = 0\n        xmax = " + Seconds(length) + "\n";
    return "File type = \"ooTextFile\"\nObject class = \"TextGrid\"\n\n" + limits +
           "tiers? <exists>\nsize = 1\nitem []:\n    item [1]:\n        class = \"IntervalTier\"\n"
           "        name = \"utterances" +
           channel + "\"\n" + tier_limits + "        intervals: size = " + std::to_string(count_) + "\n" +
           intervals_;
  }

 protected:
  std::string AddInterval(const Interval& interval) override {
    if (interval.start > end_) Append(interval.start, "");
    Append(interval.end, std::to_string(interval.number));
    return "";
  }

 private:
  // From the end of the previous interval to `end`.
  void Append(int64_t end, const std::string& text) {
    intervals_ += "        intervals [" + std::to_string(++count_) +
                  "]:\n            xmin = " + Seconds(end_) + "\n            xmax = " + Seconds(end) +
                  "\n            text = \"" + text + "\"\n";
    end_ = end;
  }

  std::string intervals_;
  int count_ = 0;
  int64_t end_ = 0;  // of the latest interval, ms
};

}  // namespace

std::unique_ptr<Listing> MakeTextGridListing(ListingEdges edges) {
  return std::make_unique<TextGridListing>(edges);
}

}  // namespace vask::command
