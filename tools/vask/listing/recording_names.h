// Names of recordings for forms whose readers split lines at white space.
#pragma once

#include <set>
#include <string>

namespace vask::command {

class RecordingNames {
 public:
  // The file's name without its folder and ending, as UTF-8, with _ for white space and control characters;
  // with _2, _3 and so on behind it if an earlier one was the same.
  std::string Next(const std::string& file);

 private:
  std::set<std::string> taken_;
};

}  // namespace vask::command
