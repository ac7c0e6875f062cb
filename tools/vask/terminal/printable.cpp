#include "terminal/printable.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace vask::command {
namespace {

struct Character {
  uint32_t code = 0;
  size_t bytes = 0;  // 0: not UTF-8
};

// First bytes, the second bytes that may follow them (no overlong forms, no surrogates), and the length.
struct Form {
  uint8_t first, last, second_first, second_last, bytes;
};
constexpr Form kForms[] = {
    {0x00, 0x7F, 0x00, 0x00, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4}};

bool IsWithin(char c, uint8_t first, uint8_t last) {
  return static_cast<uint8_t>(c) >= first && static_cast<uint8_t>(c) <= last;
}

// The character that `text` begins with.
Character First(std::string_view text) {
  const auto* form = std::find_if(std::begin(kForms), std::end(kForms),
                                  [&](const Form& f) { return IsWithin(text[0], f.first, f.last); });
  if (form == std::end(kForms) || text.size() < form->bytes) return {};
  if (form->bytes == 1) return {static_cast<uint8_t>(text[0]), 1};
  if (!IsWithin(text[1], form->second_first, form->second_last)) return {};
  uint32_t code = static_cast<uint8_t>(text[0]) & (0x7FU >> form->bytes);
  for (size_t i = 1; i < form->bytes; ++i) {
    if (!IsWithin(text[i], 0x80, 0xBF)) return {};
    code = code << 6 | (static_cast<uint8_t>(text[i]) & 0x3FU);
  }
  return {code, form->bytes};
}

bool IsControl(uint32_t code) {
  const auto within = [&](uint32_t first, uint32_t last) { return code >= first && code <= last; };
  return code < ' ' || within(0x7F, 0x9F) || code == 0x61C || within(0x200E, 0x200F) ||
         within(0x202A, 0x202E) || within(0x2066, 0x2069);
}

}  // namespace

size_t ControlLength(std::string_view text) {
  const Character first = First(text);
  if (first.bytes == 0) return IsWithin(text[0], 0x80, 0x9F) ? 1 : 0;
  return IsControl(first.code) ? first.bytes : 0;
}

std::string Printable(std::string_view name) {
  std::string printable;
  while (!name.empty()) {
    const size_t control = ControlLength(name), bytes = std::max<size_t>(First(name).bytes, 1);
    printable += control > 0 ? "?" : name.substr(0, bytes);
    name.remove_prefix(std::max(control, bytes));
  }
  return printable;
}

std::string PrintableJson(std::string_view json) {
  std::string printable;
  while (!json.empty()) {
    const Character first = First(json);
    const size_t bytes = std::max<size_t>(first.bytes, 1);
    if (bytes > 1 && IsControl(first.code)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(first.code & 0xFFFF));
      printable += escape;
    } else {
      printable += json.substr(0, bytes);
    }
    json.remove_prefix(bytes);
  }
  return printable;
}

}  // namespace vask::command
