// Writing to what may be a pipe that nobody is reading at the moment.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace vask::command {

// Writes all of `bytes`. Returns 0, or the errno of what failed: EINTR if a signal came while there was no
// room.
int WriteAll(int fd, std::span<const uint8_t> bytes);

// Writes to standard output at once. Throws FatalError, Interruption.
void WriteOutput(std::string_view text);

}  // namespace vask::command
