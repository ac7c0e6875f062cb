// One line of the output: what was found for one line of the manifest, or why nothing could be.
#pragma once

#include <optional>
#include <string>

#include "files/json_text.h"
#include "jobs/batch/hearing.h"
#include "jobs/batch/manifest.h"

namespace vask::command {

// `settings` is a hash of all that changes what is found.
Json RecordOf(const Item& item, const Findings& heard, const std::string& settings);

bool IsError(const Json& record);

// Item::Key() of the item that the record is for.
std::string KeyOf(const Json& record);

}  // namespace vask::command
