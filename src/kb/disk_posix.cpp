#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "kb/disk.h"
#include "kb/paths.h"

namespace vask {
namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kModeBits = 07777;

// The kind and the mode of a file, or of an open one; 0 if there is none.
#ifdef __GLIBC__
// Through stat the library would need the newest C library.
mode_t ModeOf(int folder, const char* path, int flags) {
  struct statx status;
  return statx(folder, path, flags, STATX_TYPE | STATX_MODE, &status) == 0 ? status.stx_mode : 0;
}
mode_t ModeOf(const char* path) { return ModeOf(AT_FDCWD, path, 0); }
mode_t ModeOf(FILE* file) { return ModeOf(fileno(file), "", AT_EMPTY_PATH); }
#else
mode_t ModeOf(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 ? status.st_mode : 0;
}
mode_t ModeOf(FILE* file) {
  struct stat status;
  return fstat(fileno(file), &status) == 0 ? status.st_mode : 0;
}
#endif

}  // namespace

bool FollowLinks(std::span<char> path) {
  char target[1024];
  for (int link = 0; link < kMostLinks; ++link) {
    const ssize_t length = readlink(path.data(), target, sizeof target - 1);
    if (length < 0) return true;
    if (length == sizeof target - 1) return false;  // perhaps truncated
    target[length] = '\0';
    // A target that does not begin with a slash is relative to the folder of the link.
    const char* slash = target[0] == '/' ? nullptr : std::strrchr(path.data(), '/');
    if (!CopyText(path.subspan(slash != nullptr ? static_cast<size_t>(slash + 1 - path.data()) : 0), target))
      return false;
  }
  return false;
}

bool IsRegularFile(const char* path) { return S_ISREG(ModeOf(path)); }

bool IsFolder(FILE* file) {
  const mode_t mode = ModeOf(file);
  return mode == 0 || S_ISDIR(mode);
}

bool TakeMode(const char* path, FILE* file) {
  const mode_t old_one = ModeOf(path), new_one = ModeOf(file);
  if (old_one == 0 || new_one == 0) return true;
  const mode_t mode = old_one & kModeBits;
  return (new_one & kModeBits) == mode || fchmod(fileno(file), mode) == 0;
}

bool Store(FILE* file) { return fsync(fileno(file)) == 0; }

bool Replace(const char* from, const char* to) { return std::rename(from, to) == 0; }

bool MakeFolder(const char* name) { return mkdir(name, 0777) == 0; }

}  // namespace vask
