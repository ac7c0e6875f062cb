#include "listen/profile_file.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <sstream>

#include "files/input_file.h"
#include "files/json_text.h"
#include "listen/detector_units.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

struct Field {
  const char* name;
  int32_t epd_profile::*value;
  bool is_level = false;  // may be given in dB
};

constexpr Field kFields[] = {
    {"hangover_frames", &epd_profile::hangover_frames},
    {"voiced_check_frames", &epd_profile::voiced_check_frames},
    {"long_speech_frames", &epd_profile::long_speech_frames},
    {"max_unvoiced_run", &epd_profile::max_unvoiced_run},
    {"vad_threshold", &epd_profile::vad_threshold, true},
    {"sample_shift", &epd_profile::sample_shift},
    {"energy_shift", &epd_profile::energy_shift},
    {"h2l_ratio_max", &epd_profile::h2l_ratio_max},
    {"yin_min", &epd_profile::yin_min},
    {"amdf_low", &epd_profile::amdf_low},
    {"amdf_high", &epd_profile::amdf_high},
    {"pv_low", &epd_profile::pv_low},
    {"pv_high", &epd_profile::pv_high},
    {"tonality_min", &epd_profile::tonality_min},
    {"entropy_max", &epd_profile::entropy_max},
    {"uv_vote_min", &epd_profile::uv_vote_min},
    {"uv_energy_offset", &epd_profile::uv_energy_offset, true},
};
static_assert(std::size(kFields) * sizeof(int32_t) == sizeof(epd_profile));

class Reader {
 public:
  Reader(const std::string& path, epd_profile& profile) : path_(path), profile_(profile) {}

  void Set(const std::string& place, const std::string& name, const std::string& text) {
    const auto* field = std::find_if(std::begin(kFields), std::end(kFields),
                                     [&](const Field& candidate) { return candidate.name == name; });
    if (field == std::end(kFields)) {
      Fail(place + "there is no value \"" + name + "\"", "the names are those of epd_profile");
    }
    const bool is_plain = text.find_first_not_of("-0123456789") == std::string::npos;
    const std::optional<int32_t> value = UnitsOf(text);
    if (!value || !(is_plain || field->is_level)) {
      Fail(place + name + " is not a whole number of 32 bits" +
               (field->is_level ? " or a level such as 8.5dB" : ""),
           "write one");
    }
    profile_.*(field->value) = *value;
  }

  void Object(const std::string& text) {
    const Json object = ParseJson(text);
    if (!object.is_object()) Fail("is not a JSON object", "write {\"vad_threshold\": 40} or lines of text");
    for (const auto& [name, value] : object.items())
      Set("", name, value.is_string() ? value.get<std::string>() : value.dump());
  }

  void Lines(const std::string& text) {
    std::istringstream lines(text);
    int number = 0;
    for (std::string line; std::getline(lines, line);) {
      const std::string place = "line " + std::to_string(++number) + ": ";
      line = line.substr(0, line.find('#'));
      std::replace_if(
          line.begin(), line.end(), [](char c) { return c == '=' || c == ':'; }, ' ');
      std::istringstream words(line);
      std::string name, value, more;
      if (!(words >> name)) continue;
      if (!(words >> value) || words >> more) Fail(place + "is not a name and a number", "write both");
      Set(place, name, value);
    }
  }

 private:
  [[noreturn]] void Fail(const std::string& wrong, const std::string& remedy) const {
    throw FileError(path_, wrong, remedy);
  }

  const std::string& path_;
  epd_profile& profile_;
};

}  // namespace

void ReadProfileFile(const std::string& path, epd_profile& profile) {
  const std::string text = ReadText(path);
  const size_t start = text.find_first_not_of(" \t\r\n");
  Reader reader(path, profile);
  if (start != std::string::npos && text[start] == '{') {
    reader.Object(text);
  } else {
    reader.Lines(text);
  }
}

}  // namespace vask::command
