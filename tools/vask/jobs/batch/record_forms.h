// Records in the forms that other programs read.
#pragma once

#include <string>
#include <vector>

#include "files/json_text.h"

namespace vask::command {

std::vector<std::string> RecordForms();  // the names

// The lines for one record, "" if it has none: an error, in all forms but jsonl. `delivered`: by the spans
// with their padding instead of the detected edges.
std::string InForm(const std::string& form, const Json& record, bool delivered);

}  // namespace vask::command
