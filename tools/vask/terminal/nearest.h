// What a mistyped word was meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vask::command {

// The name that takes the fewest letters typed, left out or replaced to become from `word`; "" if each takes
// more than a third of its own letters and one.
std::string Nearest(std::string_view word, const std::vector<std::string>& names);

}  // namespace vask::command
