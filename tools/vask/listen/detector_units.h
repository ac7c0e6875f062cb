// The energy detector's unit: a sixteenth of a doubling of energy, 0.188 dB.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vask::command {

// "8.5dB" in whole units; a whole number without "dB" counts them itself. Nothing for any other text.
std::optional<int32_t> UnitsOf(const std::string& text);

}  // namespace vask::command
