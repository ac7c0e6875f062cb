// Sampling rate and configuration file. The file holds one key and value per line; keys of other programs and
// marker lines are ignored.
#include "engine/config_file.h"

#include <charconv>
#include <string_view>

#include "dsp/arith.h"
#include "dsp/message.h"
#include "kb/paths.h"

namespace vask {
namespace {

constexpr int32_t kNarrowbandRate = 8000;  // Hz
constexpr int32_t kMostLoudness = 30;
constexpr std::string_view kBlanks = " \t\n\v\f\r";

// The second word of a line; empty if there is none.
std::string_view SecondWord(std::string_view line) {
  const size_t key = line.find_first_not_of(kBlanks);
  if (key == line.npos) return {};
  const size_t gap = line.find_first_of(kBlanks, key);
  if (gap == line.npos) return {};
  const size_t value = line.find_first_not_of(kBlanks, gap);
  if (value == line.npos) return {};
  const size_t end = line.find_first_of(kBlanks, value);
  // Not substr(): it pulls in an exception that C programs would have to link.
  return {line.data() + value, (end == line.npos ? line.size() : end) - value};
}

bool IsYes(std::string_view word) { return !word.empty() && (word[0] == 'y' || word[0] == 'Y'); }

// The number that a word begins with, limited to 32 bits; `number` is unchanged if there is none.
void ReadNumber(std::string_view word, int32_t& number) {
  if (!word.empty() && word[0] == '+') word.remove_prefix(1);
  int32_t value = 0;
  const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
  if (result.ec == std::errc()) number = value;
  if (result.ec == std::errc::result_out_of_range) number = word[0] == '-' ? kMin32 : kMax32;
}

void SetSensitivity(Settings& settings, bool is_high) {
  settings.sensitivity = is_high ? 1 : 0;
  Say(Message::kFailure, "  Vask Sensitivity = %s\n", is_high ? "high" : "low");
}

void SetLoudness(Settings& settings, int32_t loudness) {
  const bool is_valid = loudness >= 0 && loudness <= kMostLoudness;
  if (is_valid) settings.loud_definition = loudness;
  Say(Message::kFailure,
      is_valid ? "  Vask Loud Definition = %d\n" : "  Vask Loud Definition (invalid value) = %d\n", loudness);
}

// `loudness` carries the last number read from line to line.
void ApplyLine(Settings& settings, std::string_view line, int32_t& loudness) {
  const std::string_view value = SecondWord(line);
  const auto has = [&](std::string_view key) { return line.find(key) != line.npos; };
  if (has("Vask_NARROWBAND:")) {
    if (IsYes(value)) SetSamplingRate(settings, kNarrowbandRate);
  } else if (has("Vask_SENSITIVITY:")) {
    SetSensitivity(settings, IsYes(value));
  } else if (has("Vask_LOUDNESS:")) {
    ReadNumber(value, loudness);
    SetLoudness(settings, loudness);
  }
}

}  // namespace

void SetSamplingRate(Settings& settings, int32_t rate) {
  settings.sampling_rate = static_cast<float>(rate);
  if (rate == kNarrowbandRate) settings.cutoff *= 0.5f;  // at every call
  Say(Message::kInformation, "  Vask EPD Sampling Rate = %.0f, Cutoff = %.0f\n",
      static_cast<double>(settings.sampling_rate), static_cast<double>(settings.cutoff));
}

void ApplyConfigFile(Settings& settings, const char* dir) {
  char path[256];
  if (!JoinPath(path, dir, "config.Vask")) {
    Say(Message::kFailure, "ERROR: directory of config.Vask is %s\n",
        dir == nullptr ? "missing" : "too long");
    return;
  }
  FILE* file = std::fopen(path, "rb");
  if (file == nullptr) return;  // the file is optional
  Say(Message::kFailure, "  Vask EPD: Checking Config: %s\n", path);
  char line[256];
  int32_t loudness = 0;
  while (std::fgets(line, sizeof line, file) != nullptr) ApplyLine(settings, line, loudness);
  std::fclose(file);
}

}  // namespace vask
