#include "files/inputs.h"

#include <sys/stat.h>
#include <unistd.h>

#include "terminal/errors.h"

namespace vask::command {

Inputs::Inputs(const std::vector<std::string>& names) {
  for (const std::string& name : names) Add(name);
}

void Inputs::Add(const std::string& name) {
  struct stat status;
  const int result = name == "-" ? fstat(STDIN_FILENO, &status) : stat(name.c_str(), &status);
  if (result == 0 && !S_ISCHR(status.st_mode)) files_.emplace(status.st_dev, status.st_ino);
}

bool Inputs::Contain(const std::string& file) const {
  struct stat status;
  return stat(file.c_str(), &status) == 0 && files_.contains({status.st_dev, status.st_ino});
}

void Inputs::CheckIsNone(const std::string& output) const {
  if (Contain(output)) {
    throw FileError(output, "is an input of this run", "choose another name or folder");
  }
}

}  // namespace vask::command
