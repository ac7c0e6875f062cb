// What --version prints: the version, how it was built, and which of its features work on this machine.
#pragma once

#include <string>

namespace vask::command {

std::string VersionNumber();  // such as "0.2.0"

std::string Version();

// The levels of this machine, the fastest last.
std::string LevelNames();

}  // namespace vask::command
