#include "kb/text_file.h"

#include <sys/stat.h>
#include <unistd.h>

namespace vask {

FILE* OpenText(const char* path) {
  FILE* file = std::fopen(path, "r");
  struct stat status;
  if (file != nullptr && (fstat(fileno(file), &status) != 0 || S_ISDIR(status.st_mode))) {
    std::fclose(file);
    return nullptr;
  }
  return file;
}

WholeFile::WholeFile(const char* path) : path_(path) {
  const int length = std::snprintf(temporary_, sizeof temporary_, "%s.new", path);
  if (length > 0 && length < static_cast<int>(sizeof temporary_)) stream_ = std::fopen(temporary_, "w");
}

WholeFile::~WholeFile() {
  if (stream_ == nullptr) return;
  std::fclose(stream_);
  unlink(temporary_);
}

bool WholeFile::Commit() {
  if (stream_ == nullptr) return false;
  // On the disk before it takes the name: a file system may otherwise keep the name and lose the content.
  const bool stored = std::ferror(stream_) == 0 && std::fflush(stream_) == 0 && fsync(fileno(stream_)) == 0;
  const bool closed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (stored && closed && std::rename(temporary_, path_) == 0) return true;
  unlink(temporary_);
  return false;
}

}  // namespace vask
