#include "files/json_text.h"

#include <cmath>

#include "terminal/printable.h"

namespace vask::command {
namespace {

constexpr int kDeepest = 16;

struct TooDeep {};

}  // namespace

Json ParseJson(const std::string& text) {
  constexpr bool kThrow = false;
  try {
    return Json::parse(
        text,
        [](int depth, Json::parse_event_t, const Json&) {
          if (depth >= kDeepest) throw TooDeep();
          return true;
        },
        kThrow);
  } catch (const TooDeep&) {
    return Json(Json::value_t::discarded);
  }
}

std::string Utf8(const std::string& bytes) {
  return Json::parse(Json(bytes).dump(-1, ' ', false, Json::error_handler_t::replace)).get<std::string>();
}

double Rounded(double value) { return std::round(value * 1e6) / 1e6; }

std::string LineOf(const Json& value) {
  return PrintableJson(value.dump(-1, ' ', false, Json::error_handler_t::replace)) + "\n";
}

}  // namespace vask::command
