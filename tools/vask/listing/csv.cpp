// -f csv: RFC 4180, a header line, and one line per segment and, after those, per recording; each leaves the
// columns of the other empty. File names are written byte for byte.
#include <initializer_list>

#include "listing/listing.h"

namespace vask::command {
namespace {

constexpr const char* kHeader =
    "file,number,start,end,span_start,span_end,first,last,voiced,ended,rejected,channel,level_db,snr_db,"
    "clipped,duration,rate,channels,utterances,speech,version,settings,error\r\n";

// Before and after "channel", which both have.
constexpr const char* kNoSegment = ",,,,,,,,,,";
constexpr const char* kNoLevels = ",,,";
constexpr const char* kNoRecording = ",,,,,,,";

std::string Quoted(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

std::string Columns(std::initializer_list<std::string> fields) {
  std::string columns;
  for (const std::string& field : fields) columns.append(1, ',').append(field);
  return columns;
}

std::string Channel(const Recording& recording) {
  return Columns({recording.channel > 0 ? std::to_string(recording.channel) : ""});
}

class CsvListing : public Listing {
 public:
  std::string Begin() override { return kHeader; }

  std::string Add(const Recording& recording, const Segment& segment) override {
    return Quoted(recording.file) +
           Columns({segment.rejected ? "" : std::to_string(segment.number), Decimal(segment.start, 6),
                    Decimal(segment.end, 6), Decimal(segment.span_start, 6), Decimal(segment.span_end, 6),
                    std::to_string(segment.first), std::to_string(segment.last), Decimal(segment.voiced, 6),
                    segment.ended, segment.reason}) +
           Channel(recording) +
           Columns({Decimal(segment.level_db, 1), Decimal(segment.snr_db, 1), Decimal(segment.clipped, 6)}) +
           kNoRecording + ",\r\n";
  }

  std::string Close(const Recording& recording) override {
    return Quoted(recording.file) + kNoSegment + Channel(recording) + kNoLevels +
           Columns({Decimal(recording.seconds, 6), std::to_string(recording.rate),
                    std::to_string(recording.channels), std::to_string(recording.utterances),
                    Decimal(recording.speech, 6), VASK_VERSION, recording.settings, ""}) +
           "\r\n";
  }

  std::string Error(const std::string& file, const std::string& message) override {
    return Quoted(file) + kNoSegment + "," + kNoLevels + kNoRecording + "," + Quoted(message) + "\r\n";
  }
};

}  // namespace

std::unique_ptr<Listing> MakeCsvListing(ListingEdges /*edges*/) { return std::make_unique<CsvListing>(); }

}  // namespace vask::command
