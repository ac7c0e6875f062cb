// What the stages give on every machine, as this program holds it.
#pragma once

#include <string_view>

namespace vask::command {

std::string_view ExpectedDigests();  // lines: name, spaces, digest; `vask selftest` prints the same
std::string_view ReplayedCases();    // tests/replay/replay.txt

}  // namespace vask::command
