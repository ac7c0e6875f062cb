#include "files/readable_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "terminal/errors.h"

namespace vask::command {

// libsndfile's own messages for these cases are "System error" and "Format not recognised".
void CheckIsReadableFile(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT || errno == ENOTDIR) throw FileError(path, "no such file", "check the name");
    throw FileError(path, std::strerror(errno), "check the name and the permissions");
  }
  if (S_ISDIR(status.st_mode)) throw FileError(path, "is a directory", "name the audio files in it");
  if (S_ISREG(status.st_mode) && status.st_size == 0) {
    throw FileError(path, "is empty", "record or copy it again");
  }
  if (access(path.c_str(), R_OK) != 0) {
    throw FileError(path, std::strerror(errno), "ask its owner for permission to read it");
  }
}

}  // namespace vask::command
