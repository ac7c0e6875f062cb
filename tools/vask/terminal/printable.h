// Names come from anywhere: what would break a line, control the terminal or reverse text must not reach it.
#pragma once

#include <string>
#include <string_view>

namespace vask::command {

// Bytes of the control character that `text` begins with, 0 if it begins with none: U+0000 to U+001F,
// U+007F to U+009F, those that set the direction of text, and bytes of 0x80 to 0x9F that are not UTF-8.
size_t ControlLength(std::string_view text);

// A name as one line of text, with ? for control characters.
std::string Printable(std::string_view name);

// JSON with escapes for control characters beyond ASCII.
std::string PrintableJson(std::string_view json);

}  // namespace vask::command
