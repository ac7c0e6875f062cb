#include "listen/profile_file.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <sstream>
#include <system_error>

#include "files/input_file.h"
#include "files/json_text.h"
#include "listen/detector_units.h"
#include "listing/listing.h"
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

// Options of the command line that a profile may hold, with the range that they have there.
template <typename T>
struct Option {
  const char* name;
  std::optional<T> ListenOptions::*value;
  T least, most;
};

constexpr Option<double> kNumbers[] = {{"pause", &ListenOptions::pause, 0, 30},
                                       {"pad_start", &ListenOptions::pad_start, 0, 1000},
                                       {"pad_end", &ListenOptions::pad_end, 0, 1000},
                                       {"min_speech", &ListenOptions::min_speech, 0, 3600},
                                       {"max_segment", &ListenOptions::max_segment, 1.5, 36000},
                                       {"probability", &ListenOptions::probability, 0, 1}};
constexpr Option<int32_t> kCounts[] = {{"min_voiced", &ListenOptions::min_voiced, 0, 360000},
                                       {"max_tones", &ListenOptions::max_tones, 0, 100}};

class Reader {
 public:
  explicit Reader(const std::string& path) : path_(path) {}

  const ProfileFile& file() const { return file_; }

  void Set(const std::string& place, const std::string& name, const std::string& text) {
    if (name == "detector") {
      if (text != "learned" && text != "energy")
        Fail(place + "detector is not learned or energy", "write one");
      file_.options.detector = text;
      return;
    }
    if (!SetOption(kNumbers, place, name, text) && !SetOption(kCounts, place, name, text)) {
      SetValue(place, name, text);
    }
  }

  void SetValue(const std::string& place, const std::string& name, const std::string& text) {
    const auto* field = std::find_if(std::begin(kFields), std::end(kFields),
                                     [&](const Field& candidate) { return candidate.name == name; });
    if (field == std::end(kFields)) {
      Fail(place + "there is no value \"" + name + "\"", "the names are those of epd_profile or of options");
    }
    const bool is_plain = text.find_first_not_of("-0123456789") == std::string::npos;
    const std::optional<int32_t> value = UnitsOf(text);
    if (!value || !(is_plain || field->is_level)) {
      Fail(place + name + " is not a whole number of 32 bits" +
               (field->is_level ? " or a level such as 8.5dB" : ""),
           "write one");
    }
    file_.values.emplace_back(field->value, *value);
  }

  // False if none of `options` has that name.
  template <typename T, size_t n>
  bool SetOption(const Option<T> (&options)[n], const std::string& place, const std::string& name,
                 const std::string& text) {
    const auto* option = std::find_if(std::begin(options), std::end(options),
                                      [&](const Option<T>& candidate) { return candidate.name == name; });
    if (option == std::end(options)) return false;
    T value = {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool is_number = error == std::errc() && end == text.data() + text.size();
    if (!is_number || !(value >= option->least && value <= option->most)) {
      const auto text_of = [](T limit) { return Decimal(static_cast<double>(limit), limit == 1.5 ? 1 : 0); };
      Fail(place + name + " is not " + text_of(option->least) + " to " + text_of(option->most), "write one");
    }
    file_.options.*(option->value) = value;
    return true;
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
  ProfileFile file_;
};

}  // namespace

void ProfileFile::Apply(epd_profile& profile) const {
  for (const auto& [field, value] : values) profile.*field = value;
}

ProfileFile ReadProfileFile(const std::string& path) {
  const std::string text = ReadText(path);
  const size_t start = text.find_first_not_of(" \t\r\n");
  Reader reader(path);
  if (start != std::string::npos && text[start] == '{') {
    reader.Object(text);
  } else {
    reader.Lines(text);
  }
  return reader.file();
}

}  // namespace vask::command
