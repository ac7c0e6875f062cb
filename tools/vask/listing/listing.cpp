#include "listing/listing.h"

#include <array>
#include <charconv>

namespace vask::command {
namespace {

struct Form {
  const char* name;
  std::unique_ptr<Listing> (*make)(ListingEdges);
};

constexpr Form kForms[] = {
    {"text", [](ListingEdges) { return MakeTextListing(); }},
    {"jsonl", [](ListingEdges) { return MakeJsonListing(); }},
    {"csv", [](ListingEdges) { return MakeCsvListing(); }},
    {"labels", MakeLabelListing},
    {"webvtt", MakeWebvttListing},
    {"textgrid", MakeTextGridListing},
    {"rttm", MakeRttmListing},
    {"kaldi", MakeKaldiListing},
};

}  // namespace

std::vector<std::string> ListingNames() {
  std::vector<std::string> names;
  for (const Form& form : kForms) names.emplace_back(form.name);
  return names;
}

std::unique_ptr<Listing> MakeListing(const std::string& name, ListingEdges edges) {
  for (const Form& form : kForms) {
    if (name == form.name) return form.make(edges);
  }
  return nullptr;
}

std::string Decimal(double value, int decimals) {
  std::array<char, 400> text = {};  // the longest double has 309 digits before the point
  const auto result =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
  return {text.data(), result.ptr};
}

}  // namespace vask::command
