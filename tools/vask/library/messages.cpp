#include "library/messages.h"

#include <vask/message.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "terminal/errors.h"

namespace vask::command {
namespace {

// A sink: adds the message to the text that `context` is.
void Collect(void* context, int32_t /*stream*/, const char* text) {
  // The library ends the process, with status 0, when it cannot allocate one of its histories. That is not
  // success.
  if (std::string_view(text).starts_with("Not enough memory")) {
    std::fputs(kOutOfMemory, stderr);
    std::_Exit(EXIT_FAILURE);
  }
  static_cast<std::string*>(context)->append(text);
}

// The first line that reports a fault, "" if none does.
std::string FaultIn(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("ERROR", 0) == 0 || line.rfind("WARNING", 0) == 0) return "the engine says " + line;
    if (line.find("(invalid value)") != std::string::npos) {
      return "config.Vask:" + line.substr(1) + ": give a number from 0 to 30";
    }
  }
  return "";
}

}  // namespace

void DropMessages() { vask_set_message_sink(vask_drop_message, nullptr); }

std::string ComplaintOf(const std::function<void()>& call) {
  std::string text;
  vask_set_message_sink(Collect, &text);
  call();
  DropMessages();
  return FaultIn(text);
}

void RunOrThrow(const std::function<void()>& call) {
  const std::string complaint = ComplaintOf(call);
  if (!complaint.empty()) throw FatalError(complaint);
}

}  // namespace vask::command
