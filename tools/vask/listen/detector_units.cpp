#include "listen/detector_units.h"

#include <charconv>
#include <cmath>

namespace vask::command {
namespace {

constexpr double kDbPerUnit = 3.010299956639812 / 16;  // 10 log10(2), a sixteenth of it
constexpr double kMostDb = 1000;                       // far beyond any signal

}  // namespace

std::optional<int32_t> UnitsOf(const std::string& text) {
  const char* const end = text.data() + text.size();
  int32_t units = 0;
  if (const auto [rest, error] = std::from_chars(text.data(), end, units);
      error == std::errc() && rest == end)
    return units;
  double db = 0;
  const auto [rest, error] = std::from_chars(text.data(), end, db);
  const std::string unit(rest, end);
  if (error != std::errc() || !(std::abs(db) <= kMostDb) || (unit != "dB" && unit != "db" && unit != "DB"))
    return std::nullopt;
  return static_cast<int32_t>(std::lround(db / kDbPerUnit));
}

}  // namespace vask::command
