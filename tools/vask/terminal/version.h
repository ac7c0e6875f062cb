// What --version prints: the version, how it was built, and which of its features work on this machine.
#pragma once

#include <string>

namespace vask::command {

std::string Version();

// The levels of this machine, the fastest last.
std::string LevelNames();

}  // namespace vask::command
