#include "kb/text_file.h"

#include "kb/disk.h"
#include "kb/paths.h"

namespace vask {

FILE* OpenText(const char* path) {
  // As bytes: Windows would take out what is no text to it.
  FILE* file = std::fopen(path, "rb");
  if (file != nullptr && IsFolder(file)) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

WholeFile::WholeFile(const char* path) {
  if (!CopyText(path_, path) || !FollowLinks(path_)) return;
  std::snprintf(temporary_, sizeof temporary_, "%s.new", path_);
  stream_ = std::fopen(temporary_, "wb");
  if (stream_ != nullptr && !TakeMode(path_, stream_)) GiveUp();
}

WholeFile::~WholeFile() {
  if (stream_ != nullptr) GiveUp();
}

void WholeFile::GiveUp() {
  std::fclose(stream_);
  stream_ = nullptr;
  std::remove(temporary_);
}

bool WholeFile::Commit() {
  if (stream_ == nullptr) return false;
  // On the disk before it is renamed: otherwise a file system may keep the name and lose the content.
  const bool stored = std::ferror(stream_) == 0 && std::fflush(stream_) == 0 && Store(stream_);
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (stored && closed && Replace(temporary_, path_)) return true;
  std::remove(temporary_);
  return false;
}

}  // namespace vask
