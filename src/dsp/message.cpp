#include "dsp/message.h"

#include <pthread.h>

#include <array>
#include <cstdarg>
#include <cstdio>

namespace vask {
namespace {

struct Sink {
  vask_message_sink take = nullptr;
  void* context = nullptr;
};

// The two are changed and read together.
pthread_mutex_t sink_lock = PTHREAD_MUTEX_INITIALIZER;
constinit Sink sink_in_force;

// What was in force. The lock is not held while a sink runs, so that it may set another.
Sink Exchange(const Sink* next) {
  pthread_mutex_lock(&sink_lock);
  const Sink before = sink_in_force;
  if (next != nullptr) sink_in_force = *next;
  pthread_mutex_unlock(&sink_lock);
  return before;
}

}  // namespace

void Say(Message kind, const char* format, ...) {
  const Sink sink = Exchange(nullptr);
  va_list args;
  va_start(args, format);
  if (sink.take == nullptr) {
    FILE* const stream = kind == Message::kFailure ? stdout : stderr;
    std::vfprintf(stream, format, args);
    std::fflush(stream);
  } else {
    std::array<char, VASK_LONGEST_MESSAGE + 1> text;
    std::vsnprintf(text.data(), text.size(), format, args);
    sink.take(sink.context, kind == Message::kFailure ? VASK_MESSAGE_OUTPUT : VASK_MESSAGE_INFORMATION,
              text.data());
  }
  va_end(args);
}

void SetMessageSink(vask_message_sink sink, void* context) {
  const Sink next = {sink, context};
  Exchange(&next);
}

}  // namespace vask
