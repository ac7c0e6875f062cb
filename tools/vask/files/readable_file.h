// Whether a file can be read at all, told in words for the person at the terminal.
#pragma once

#include <string>

namespace vask::command {

// Throws FileError if the file is missing, empty, a directory or unreadable.
void CheckIsReadableFile(const std::string& path);

}  // namespace vask::command
