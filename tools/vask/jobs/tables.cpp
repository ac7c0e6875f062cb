#include "jobs/tables.h"

#include <vask/settings.h>

#include <filesystem>

#include "terminal/errors.h"

namespace vask::command {

bool WriteKnowledgeBase(const std::string& dir) {
  std::error_code error;
  std::filesystem::create_directories(dir, error);
  if (error || !std::filesystem::is_directory(dir, error)) {
    throw FileError(dir,
                    "cannot be made a folder (" + (error ? error.message() : "a file has this name") + ")",
                    "choose another");
  }
  const int32_t result = vask_make_coeff_files(dir.c_str());
  if (result == 0) {
    throw FileError(dir, "not all files could be written",
                    "check the permissions and the room on the disk, remove Vask.db/cc1.txt, and try again");
  }
  return result == 1;
}

}  // namespace vask::command
