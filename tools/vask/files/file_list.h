// --files-from: names of inputs in a file.
#pragma once

#include <string>
#include <vector>

namespace vask::command {

// The names in `list`, "-" for standard input: one per line, ended by LF or CR LF, or with `null` each ended
// by a zero byte. Throws FileError, Interruption.
std::vector<std::string> ReadFileList(const std::string& list, bool null);

}  // namespace vask::command
