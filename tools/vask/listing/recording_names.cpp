#include "listing/recording_names.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "files/json_text.h"
#include "terminal/printable.h"

namespace vask::command {
namespace {

// Beyond ASCII: U+00A0, U+1680, U+2000 to U+200A, U+2028, U+2029, U+202F, U+205F, U+3000.
constexpr std::string_view kWideSpaces[] = {
    "\xC2\xA0",     "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82", "\xE2\x80\x83",
    "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86", "\xE2\x80\x87", "\xE2\x80\x88", "\xE2\x80\x89",
    "\xE2\x80\x8A", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F", "\xE3\x80\x80"};

// Bytes of the white space or control character that `text` begins with; 0: it begins with neither.
size_t SpaceLength(std::string_view text) {
  if (text.front() == ' ') return 1;
  for (const std::string_view space : kWideSpaces) {
    if (text.starts_with(space)) return space.size();
  }
  return ControlLength(text);
}

}  // namespace

std::string OneWord(const std::string& text) {
  std::string word;
  for (std::string_view rest = text; !rest.empty();) {
    const size_t space = SpaceLength(rest);
    word += space > 0 ? '_' : rest.front();
    rest.remove_prefix(std::max<size_t>(space, 1));
  }
  return word;
}

std::string RecordingNames::Of(const Recording& recording) {
  const bool same = recording.channel > last_.channel && last_.channel > 0 && recording.file == last_.file;
  if (!same) name_ = Next(recording.file);
  last_ = recording;
  return name_;
}

std::string RecordingNames::Next(const std::string& file) {
  const std::string stem = file == "-" ? "stdin" : Utf8(std::filesystem::path(file).stem().string());
  const std::string name = OneWord(stem);
  const auto [found, is_free] = taken_.try_emplace(name, 2);
  if (is_free) return name;
  for (int& number = found->second;;) {
    const std::string numbered = name + "_" + std::to_string(number++);
    if (taken_.try_emplace(numbered, 2).second) return numbered;
  }
}

}  // namespace vask::command
