// The one list of forms: --help, the completions and the tests read it from here. Each form is defined in a
// file of its own, which holds its listing and ends with its maker.
#include "listing/forms.h"

namespace vask::command {

using Maker = std::unique_ptr<Listing>(ListingEdges);
Maker MakeTextListing, MakeJsonListing, MakeCsvListing, MakeLabelListing, MakeWebvttListing, MakeSrtListing,
    MakeTextGridListing, MakeRttmListing, MakeKaldiListing;

namespace {

struct Form {
  const char* name;
  Maker* make;
};

constexpr Form kForms[] = {
    {"text", MakeTextListing},         {"jsonl", MakeJsonListing},    {"csv", MakeCsvListing},
    {"labels", MakeLabelListing},      {"webvtt", MakeWebvttListing}, {"srt", MakeSrtListing},
    {"textgrid", MakeTextGridListing}, {"rttm", MakeRttmListing},     {"kaldi", MakeKaldiListing},
};

}  // namespace

std::vector<std::string> FormNames() {
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

}  // namespace vask::command
