#include "files/file_list.h"

#include <fstream>
#include <iostream>

#include "files/readable_file.h"
#include "terminal/errors.h"

namespace vask::command {

std::vector<std::string> ReadFileList(const std::string& list, bool null) {
  std::ifstream file;
  if (list != "-") {
    CheckIsReadableFile(list);
    file.open(list, std::ios::binary);
  }
  std::istream& input = list == "-" ? std::cin : file;
  std::vector<std::string> names;
  for (std::string name; std::getline(input, name, null ? '\0' : '\n');) {
    if (!name.empty()) names.push_back(name);
  }
  if (input.bad()) throw FileError(list, "cannot be read", "check the name and the permissions");
  return names;
}

}  // namespace vask::command
