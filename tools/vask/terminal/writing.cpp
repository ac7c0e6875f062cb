#include "terminal/writing.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "terminal/errors.h"
#include "terminal/signals.h"

namespace vask::command {

int WriteAll(int fd, std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    if (!WaitToWrite(fd)) return EINTR;
    const ssize_t n = write(fd, bytes.data(), bytes.size());
    if (n >= 0) {
      bytes = bytes.subspan(static_cast<size_t>(n));
    } else if (errno != EINTR && errno != EAGAIN) {
      return errno;
    }
  }
  return 0;
}

void WriteOutput(std::string_view text) {
  while (!text.empty()) {
    // A pipe that has room takes this much without blocking; it is not ours to set to O_NONBLOCK.
    const std::string_view part = text.substr(0, PIPE_BUF);
    errno = WriteAll(STDOUT_FILENO, {reinterpret_cast<const uint8_t*>(part.data()), part.size()});
    if (errno == EINTR) CheckSignals();
    if (errno != 0) ThrowOutputError();
    text.remove_prefix(part.size());
  }
}

}  // namespace vask::command
