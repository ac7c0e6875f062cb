// The forms by the names that -f takes.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "listing/listing.h"

namespace vask::command {

std::vector<std::string> FormNames();  // in the order of --help

// Null for a name that is not one of them.
std::unique_ptr<Listing> MakeListing(const std::string& name, ListingEdges edges = {});

}  // namespace vask::command
