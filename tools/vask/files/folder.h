// A folder as an operand: the recordings in it.
#pragma once

#include <string>
#include <vector>

namespace vask::command {

struct FolderOptions {
  bool recursive = false;  // those in the folders below too
  std::string leave_out;   // a folder that is not entered; may be empty
  bool tells_others = true;
};

// The files in `folder` whose names end as those of recordings do, sorted by bytes; no hidden ones, and no
// links to folders. Says on standard error how many others there are. Throws FileError if it cannot be read,
// or holds no recording.
std::vector<std::string> RecordingsIn(const std::string& folder, const FolderOptions& options);

}  // namespace vask::command
