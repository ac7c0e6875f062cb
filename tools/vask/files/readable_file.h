// Whether a file can be read at all, and if not, why, in words for the user.
#pragma once

#include <string>

namespace vask::command {

// Throws FileError if the file is missing, empty, a directory or unreadable.
void CheckIsReadableFile(const std::string& path);

}  // namespace vask::command
