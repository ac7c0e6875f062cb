// What --version prints: the version, how it was built, and which of its features work on this machine.
#ifndef TOOLS_VASK_TERMINAL_VERSION_H_
#define TOOLS_VASK_TERMINAL_VERSION_H_

#include <string>

namespace vask::command {

std::string Version();

}  // namespace vask::command

#endif  // TOOLS_VASK_TERMINAL_VERSION_H_
