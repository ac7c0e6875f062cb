// --files-from: names of inputs in a file.
#pragma once

#include <string>
#include <vector>

namespace vask::command {

// The names in `list`, "-" for standard input: one a line, which may end with a carriage return too, or with
// `null` each before a zero byte. Throws FileError, Interruption.
std::vector<std::string> ReadFileList(const std::string& list, bool null);

}  // namespace vask::command
