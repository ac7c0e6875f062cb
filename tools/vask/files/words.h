// Lines of text whose fields are words between blanks, and numbers in them, whatever the locale.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace vask::command {

std::vector<std::string_view> Words(std::string_view line);

std::optional<double> Number(std::string_view word);  // finite, and nothing after it

}  // namespace vask::command
