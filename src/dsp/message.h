// The library's fixed messages: written in one piece and flushed at once.
#pragma once

#include <cstdio>

namespace vask {

#if defined(__GNUC__)
#define VASK_PRINTF_LIKE __attribute__((format(printf, 2, 3)))
#else
#define VASK_PRINTF_LIKE
#endif

// Write to `stream` (stdout: what failed; stderr: information) and flush.
VASK_PRINTF_LIKE void Say(FILE* stream, const char* format, ...);

}  // namespace vask
