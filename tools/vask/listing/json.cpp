// -f jsonl: one object per line: each segment, and then the recording that they are of.
#include "files/json_text.h"
#include "listing/listing.h"

namespace vask::command {
namespace {

using Object = Json;

Object Channel(const Recording& recording) {
  return recording.channel > 0 ? Object(recording.channel) : Object(nullptr);
}

Object TextOrNull(const std::string& text) { return text.empty() ? Object(nullptr) : Object(text); }

class JsonListing : public Listing {
 public:
  std::string Add(const Recording& recording, const Segment& segment) override {
    return LineOf({{"file", recording.file},
                   {"number", segment.rejected ? Object(nullptr) : Object(segment.number)},
                   {"start", Rounded(segment.start)},
                   {"end", Rounded(segment.end)},
                   {"span_start", Rounded(segment.span_start)},
                   {"span_end", Rounded(segment.span_end)},
                   {"samples", {segment.first, segment.last}},
                   {"voiced", Rounded(segment.voiced)},
                   {"ended", TextOrNull(segment.ended)},
                   {"rejected", TextOrNull(segment.reason)},
                   {"channel", Channel(recording)},
                   {"level_db", segment.level_db},
                   {"snr_db", segment.snr_db},
                   {"clipped", Rounded(segment.clipped)}});
  }

  std::string Close(const Recording& recording) override {
    return LineOf({{"file", recording.file},
                   {"duration", Rounded(recording.seconds)},
                   {"rate", recording.rate},
                   {"channels", recording.channels},
                   {"channel", Channel(recording)},
                   {"utterances", recording.utterances},
                   {"speech", Rounded(recording.speech)},
                   {"version", VASK_VERSION},
                   {"settings", recording.settings}});
  }

  std::string Error(const std::string& file, const std::string& message) override {
    return LineOf({{"file", file}, {"error", message}});
  }
};

}  // namespace

std::unique_ptr<Listing> MakeJsonListing(ListingEdges /*edges*/) { return std::make_unique<JsonListing>(); }

}  // namespace vask::command
