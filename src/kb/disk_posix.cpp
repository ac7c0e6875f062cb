#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "kb/disk.h"
#include "kb/paths.h"

namespace vask {
namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kModeBits = 07777;

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

bool IsFolder(FILE* file) {
  struct stat status;
  return fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode);
}

bool TakeMode(const char* path, FILE* file) {
  struct stat old_one, new_one;
  if (stat(path, &old_one) != 0 || fstat(fileno(file), &new_one) != 0) return true;
  const mode_t mode = old_one.st_mode & kModeBits;
  return (new_one.st_mode & kModeBits) == mode || fchmod(fileno(file), mode) == 0;
}

bool Store(FILE* file) { return fsync(fileno(file)) == 0; }

bool Replace(const char* from, const char* to) { return std::rename(from, to) == 0; }

bool MakeFolder(const char* name) { return mkdir(name, 0777) == 0; }

}  // namespace vask
