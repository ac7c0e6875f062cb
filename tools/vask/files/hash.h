// A hash of texts that is the same on every machine and in every version.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vask::command {

uint64_t HashOf(std::string_view text);  // 64-bit FNV-1a

// Its upper 48 bits, in 12 hexadecimal digits.
std::string HashText(std::string_view text);

}  // namespace vask::command
