// Paths of the knowledge base and of log files: built whole or refused, never truncated into another path.
#pragma once

#include <cstddef>
#include <span>

namespace vask {

// "dir" + "/" + name + tail into `path`, with the terminating zero. False, and `path` unchanged, if it would
// not fit or an argument is null.
bool JoinPath(std::span<char> path, const char* dir, const char* name, const char* tail = "");

// Copy a whole text into a fixed array; false, and the array unchanged, if it would not fit or is null.
bool CopyText(std::span<char> to, const char* text);

}  // namespace vask
