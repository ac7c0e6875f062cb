// Where the messages of the process go.
#include "dsp/message.h"

#include <vask/message.h>

extern "C" {

void vask_set_message_sink(vask_message_sink sink, void* context) { vask::SetMessageSink(sink, context); }

void vask_drop_message(void* /*context*/, int32_t /*stream*/, const char* /*text*/) {}

}  // extern "C"
