#include "files/file_list.h"

#include <sstream>

#include "files/input_file.h"

namespace vask::command {

std::vector<std::string> ReadFileList(const std::string& list, bool null) {
  std::istringstream text(ReadText(list));
  std::vector<std::string> names;
  for (std::string name; std::getline(text, name, null ? '\0' : '\n');) {
    if (!null && name.ends_with('\r')) name.pop_back();
    if (!name.empty()) names.push_back(name);
  }
  return names;
}

}  // namespace vask::command
