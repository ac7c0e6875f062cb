#include "files/words.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace vask::command {
namespace {

constexpr std::string_view kBlanks = " \t\r";

}  // namespace

std::vector<std::string_view> Words(std::string_view line) {
  std::vector<std::string_view> words;
  for (size_t at = 0; (at = line.find_first_not_of(kBlanks, at)) < line.size();) {
    const size_t end = std::min(line.find_first_of(kBlanks, at), line.size());
    words.push_back(line.substr(at, end - at));
    at = end;
  }
  return words;
}

std::optional<double> Number(std::string_view word) {
  double value = 0;
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  if (error != std::errc() || end != word.data() + word.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

}  // namespace vask::command
