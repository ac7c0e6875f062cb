#include "sound/library_words.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <mutex>
#include <string>
#include <string_view>

#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr off_t kMostKept = 1 << 20;  // bytes
constexpr std::string_view kTheirs[] = {"Note: ", "Warning: ", "[src/libmpg123/"};

// There is one standard error, and this is what has become of it.
struct HeldBack {
  std::mutex mutex;
  int holders = 0;
  int error = -1, memory = -1;  // the true one, and where its text goes; -1: as it was
  off_t passed = 0;             // of that text

  void Begin() {
    const std::lock_guard lock(mutex);
    if (holders++ > 0) return;
    if (memory < 0) memory = memfd_create("words", MFD_CLOEXEC);
    error = memory < 0 ? -1 : fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0);
    if (error >= 0) dup2(memory, STDERR_FILENO);
  }

  void End() {
    const std::lock_guard lock(mutex);
    const bool last = --holders == 0;
    if (error < 0) return;
    if (last) dup2(error, STDERR_FILENO);
    Pass();
    if (!last) return;
    close(error);
    error = -1;
    if (passed < kMostKept) return;
    close(memory);
    memory = -1;
    passed = 0;
  }

  // From where the last call ended: another thread may be writing while this one reads.
  void Pass() {
    std::string text;
    char block[1024];
    for (ssize_t n = 0; (n = pread(memory, block, sizeof block, passed)) > 0; passed += n) {
      text.append(block, static_cast<size_t>(n));
    }
    std::string ours;
    for (size_t at = 0; at < text.size();) {
      const size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
      const std::string_view line = std::string_view(text).substr(at, end - at);
      const bool theirs =
          line == "\n" || std::any_of(std::begin(kTheirs), std::end(kTheirs),
                                      [&](std::string_view start) { return line.starts_with(start); });
      if (!theirs) ours += line;
      at = end;
    }
    if (!ours.empty()) WriteAll(error, {reinterpret_cast<const uint8_t*>(ours.data()), ours.size()});
  }
};

HeldBack held_back;

}  // namespace

LibraryWords::LibraryWords() { held_back.Begin(); }
LibraryWords::~LibraryWords() { held_back.End(); }

}  // namespace vask::command
