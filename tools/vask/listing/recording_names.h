// Names of recordings for forms whose readers split lines at white space.
#pragma once

#include <string>
#include <unordered_map>

#include "listing/listing.h"

namespace vask::command {

// A text with _ for white space and control characters.
std::string OneWord(const std::string& text);

class RecordingNames {
 public:
  // The file's name without its folder and extension, as UTF-8, with _ for white space and control
  // characters; followed by _2, _3 and so on if an earlier one was the same. The channels of a file, which
  // follow each other, have one name.
  std::string Of(const Recording& recording);

 private:
  std::string Next(const std::string& file);

  Recording last_;
  std::string name_;                            // of it
  std::unordered_map<std::string, int> taken_;  // the names, and the number that each gets next time
};

}  // namespace vask::command
