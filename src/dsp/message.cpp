#include "dsp/message.h"

#include <cstdarg>

namespace vask {

void Say(FILE* stream, const char* format, ...) {
  va_list args;
  va_start(args, format);
  std::vfprintf(stream, format, args);
  va_end(args);
  std::fflush(stream);
}

}  // namespace vask
