#include "listing/listing.h"

#include <array>
#include <charconv>

namespace vask::command {
std::string Decimal(double value, int decimals) {
  std::array<char, 400> text = {};  // the longest double has 309 digits before the point
  const auto result =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals);
  return {text.data(), result.ptr};
}

}  // namespace vask::command
