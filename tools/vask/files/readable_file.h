// Whether a file can be read at all, told in words for the person at the terminal.
#ifndef TOOLS_VASK_FILES_READABLE_FILE_H_
#define TOOLS_VASK_FILES_READABLE_FILE_H_

#include <string>

namespace vask::command {

// Throws FileError if the file is missing, empty, a directory or unreadable.
void CheckIsReadableFile(const std::string& path);

}  // namespace vask::command

#endif  // TOOLS_VASK_FILES_READABLE_FILE_H_
