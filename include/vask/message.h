/*
 * Where the library's messages go: to the standard streams, or to the application.
 */
#ifndef VASK_MESSAGE_H_
#define VASK_MESSAGE_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/* The stream that a message is for. */
enum {
  VASK_MESSAGE_OUTPUT = 1,     /* standard output: lines that begin with "ERROR: ", answers to settings */
  VASK_MESSAGE_INFORMATION = 2 /* standard error */
};

#define VASK_LONGEST_MESSAGE 1023 /* bytes; what is longer is cut */

/**
 * What an application makes of a message.
 *
 * context  as it was set
 * stream   one of the above
 * text     the message as it would have been printed, most of them with a line end; valid during the call
 *
 * Called in whichever thread the message arises, by several at once if they use the library at once. It may
 * set another sink, and must not call anything else of the library that has messages.
 */
typedef void (*vask_message_sink)(void *context, int32_t stream, const char *text);

/**
 * Send the messages of the whole process somewhere else. At load they go to the standard streams.
 *
 * sink     takes each message; null: the standard streams
 * context  handed to it; any value
 *
 * May be called at any time from any thread. A message that another thread has begun may still reach the sink
 * that was set before.
 */
VASK_API void vask_set_message_sink(vask_message_sink sink, void *context);

/**
 * Do nothing: the sink that switches all messages off, vask_set_message_sink(vask_drop_message, NULL).
 *
 * context  any value
 * stream   any value
 * text     any value
 */
VASK_API void vask_drop_message(void *context, int32_t stream, const char *text);

VASK_END_DECLS

#endif /* VASK_MESSAGE_H_ */
