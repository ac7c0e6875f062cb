// Windows has no modes, opens no folder as a file, and rename() refuses a name that is taken.
#include <direct.h>
#include <io.h>
#include <windows.h>

#include "kb/disk.h"

namespace vask {

// Links are for administrators there: one that is in the place is replaced.
bool FollowLinks(std::span<char> /*path*/) { return true; }

bool IsRegularFile(const char* path) {
  const DWORD attributes = GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool IsFolder(FILE* /*file*/) { return false; }

bool TakeMode(const char* /*path*/, FILE* /*file*/) { return true; }

bool Store(FILE* file) { return _commit(_fileno(file)) == 0; }

bool Replace(const char* from, const char* to) {
  return MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
}

bool MakeFolder(const char* name) { return _mkdir(name) == 0; }

}  // namespace vask
