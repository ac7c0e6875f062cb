// The library's fixed messages: each in one piece, to the standard streams or to the application's sink. The
// library of streams alone has none: its results say what went wrong, and it prints nothing.
#pragma once

#include <vask/message.h>

#include <cstdint>

namespace vask {

#if defined(__GNUC__)
#define VASK_PRINTF_LIKE __attribute__((format(printf, 2, 3)))
#else
#define VASK_PRINTF_LIKE
#endif

enum class Message { kFailure, kInformation };

#ifdef VASK_STREAMS_ONLY
VASK_PRINTF_LIKE inline void Say(Message /*kind*/, const char* /*format*/, ...) {}
#else
// Write to standard output (what failed) or standard error and flush; or hand the text to the sink.
VASK_PRINTF_LIKE void Say(Message kind, const char* format, ...);
#endif

// Null: the standard streams. The one for the whole process, as they are.
void SetMessageSink(vask_message_sink sink, void* context);

}  // namespace vask
