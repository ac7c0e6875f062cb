// -f csv: RFC 4180, a header line and one line per segment. File names are written byte for byte.
#include "listing/listing.h"

namespace vask::command {
namespace {

std::string Quoted(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

class CsvListing : public Listing {
 public:
  std::string Begin() override {
    return "file,number,start,end,span_start,span_end,first,last,voiced,ended,rejected,channel\r\n";
  }

  std::string Add(const Recording& recording, const Segment& segment) override {
    std::string line = Quoted(recording.file);
    for (const std::string& field :
         {segment.rejected ? std::string() : std::to_string(segment.number), Decimal(segment.start, 6),
          Decimal(segment.end, 6), Decimal(segment.span_start, 6), Decimal(segment.span_end, 6),
          std::to_string(segment.first), std::to_string(segment.last), Decimal(segment.voiced, 6),
          segment.ended, segment.reason,
          recording.channel > 0 ? std::to_string(recording.channel) : std::string()}) {
      line.append(1, ',').append(field);
    }
    return line + "\r\n";
  }
};

}  // namespace

std::unique_ptr<Listing> MakeCsvListing(ListingEdges /*edges*/) { return std::make_unique<CsvListing>(); }

}  // namespace vask::command
