// The system's handle of a file descriptor.
#pragma once

#include <io.h>
#include <windows.h>

namespace vask::command {

inline HANDLE HandleOf(int fd) { return reinterpret_cast<HANDLE>(_get_osfhandle(fd)); }

}  // namespace vask::command
