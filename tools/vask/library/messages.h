// Keeps what the library has to say out of the command's own output.
#pragma once

#include <functional>
#include <string>

namespace vask::command {

// From here on no message of the library is printed.
void DropMessages();

// A call into the library's engine or extractor, by one thread at a time: its complaint is the first message
// that reports a fault. The call throws nothing.
std::string ComplaintOf(const std::function<void()>& call);  // "" if there is none
void RunOrThrow(const std::function<void()>& call);          // throws FatalError with the complaint

}  // namespace vask::command
