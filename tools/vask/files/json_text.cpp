#include "files/json_text.h"

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

}  // namespace vask::command
