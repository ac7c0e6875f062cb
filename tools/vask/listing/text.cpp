// -f text: one line per segment, tab-separated. Scripts read the first four columns: file, number, start,
// end. With a channel that was chosen, its number is the last.
#include "listing/listing.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

class TextListing : public Listing {
 public:
  std::string Add(const Recording& recording, const Segment& segment) override {
    std::string line = Printable(recording.file);
    line += '\t';
    line += segment.rejected ? "-" : std::to_string(segment.number);
    for (const double time : {segment.start, segment.end, segment.span_start, segment.span_end}) {
      line += '\t';
      line += Decimal(time, 3);
    }
    line += '\t';
    line += Decimal(segment.voiced, 2);
    line += segment.rejected ? "\trejected " + segment.reason : "\t" + segment.ended;
    if (recording.channel > 0) line += '\t' + std::to_string(recording.channel);
    line += '\n';
    return line;
  }
};

}  // namespace

std::unique_ptr<Listing> MakeTextListing(ListingEdges /*edges*/) { return std::make_unique<TextListing>(); }

}  // namespace vask::command
