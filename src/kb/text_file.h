// Text files of the knowledge base: opened only if they are files, written whole or not at all.
#pragma once

#include <cstdio>

namespace vask {

// Open for reading; null if there is no such file, or a directory in its place.
FILE* OpenText(const char* path);

// A file that replaces the one at `path`, or the one to which a link there leads, in one step and keeps its
// mode. Output goes to a file beside it, with ".new" appended to its name; a crash or a full disk in between
// leaves the old file as it was.
class WholeFile {
 public:
  explicit WholeFile(const char* path);
  ~WholeFile();  // discards what was not committed
  WholeFile(const WholeFile&) = delete;
  WholeFile& operator=(const WholeFile&) = delete;

  FILE* stream() const { return stream_; }  // null if it could not be opened
  bool Commit();                            // false: nothing has changed

 private:
  void GiveUp();

  char path_[1024], temporary_[sizeof path_ + 4];
  FILE* stream_ = nullptr;
};

}  // namespace vask
