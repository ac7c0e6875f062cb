#include "kb/text_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <span>

#include "kb/paths.h"

namespace vask {
namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kModeBits = 07777;

// Replace `path` by the file to which its links lead, which need not exist yet. False if that does not fit or
// the links form a circle.
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

// Give the new file the mode of the one at `path`. Some file systems cannot do that, but have only one mode.
bool TakeMode(const char* path, int file) {
  struct stat old_one, new_one;
  if (stat(path, &old_one) != 0 || fstat(file, &new_one) != 0) return true;
  const mode_t mode = old_one.st_mode & kModeBits;
  return (new_one.st_mode & kModeBits) == mode || fchmod(file, mode) == 0;
}

}  // namespace

FILE* OpenText(const char* path) {
  FILE* file = std::fopen(path, "r");
  struct stat status;
  if (file != nullptr && (fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode))) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

WholeFile::WholeFile(const char* path) {
  if (!CopyText(path_, path) || !FollowLinks(path_)) return;
  std::snprintf(temporary_, sizeof temporary_, "%s.new", path_);
  stream_ = std::fopen(temporary_, "w");
  if (stream_ != nullptr && !TakeMode(path_, fileno(stream_))) GiveUp();
}

WholeFile::~WholeFile() {
  if (stream_ != nullptr) GiveUp();
}

void WholeFile::GiveUp() {
  std::fclose(stream_);
  stream_ = nullptr;
  unlink(temporary_);
}

bool WholeFile::Commit() {
  if (stream_ == nullptr) return false;
  // On the disk before it is renamed: otherwise a file system may keep the name and lose the content.
  const bool stored = std::ferror(stream_) == 0 && std::fflush(stream_) == 0 && fsync(fileno(stream_)) == 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (stored && closed && std::rename(temporary_, path_) == 0) return true;
  unlink(temporary_);
  return false;
}

}  // namespace vask
