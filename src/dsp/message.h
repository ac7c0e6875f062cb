// The library's fixed messages: each in one piece, to the standard streams or to the application's sink.
#pragma once

#include <vask/message.h>

#include <cstdio>

namespace vask {

#if defined(__GNUC__)
#define VASK_PRINTF_LIKE __attribute__((format(printf, 2, 3)))
#else
#define VASK_PRINTF_LIKE
#endif

// Write to `stream` (stdout: what failed; stderr: information) and flush; or hand the text to the sink.
VASK_PRINTF_LIKE void Say(FILE* stream, const char* format, ...);

// Null: the standard streams. The one for the whole process, as they are.
void SetMessageSink(vask_message_sink sink, void* context);

}  // namespace vask
