#include "jobs/batch/manifest_forms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "files/words.h"

namespace vask::command {
namespace {

constexpr double kLongest = 1e9;  // s
constexpr int32_t kMostChannels = 1024;

[[noreturn]] void Refuse(const std::string& message) { throw Refusal{"manifest", message}; }

// A field under any of its names is taken out of what is handed through.
template <size_t kCount>
Json Take(Json& fields, const std::array<const char*, kCount>& names) {
  for (const char* name : names) {
    const auto field = fields.find(name);
    if (field == fields.end()) continue;
    Json value = std::move(*field);
    fields.erase(field);
    return value;
  }
  return {};
}

double Seconds(const Json& value, const char* name) {
  const std::optional<double> seconds = value.is_number()   ? value.get<double>()
                                        : value.is_string() ? Number(value.get<std::string>())
                                                            : std::optional<double>();
  if (!seconds || !std::isfinite(*seconds) || *seconds < 0 || *seconds > kLongest) {
    Refuse(std::string(name) + " is not a number of seconds from 0");
  }
  return *seconds;
}

std::string Text(const Json& value, const char* name) {
  if (value.is_string() && !value.get<std::string>().empty()) return value.get<std::string>();
  if (value.is_number_integer()) return value.dump();
  Refuse(std::string(name) + " is not a text");
}

int32_t Channel(Json value, int32_t first) {
  if (value.is_array()) value = value.size() == 1 ? Json(value[0]) : Json();
  if (value.is_string()) {
    const std::optional<double> number = Number(value.get<std::string>());
    if (number && std::abs(*number) <= kMostChannels) value = static_cast<int64_t>(*number);
  }
  if (value.is_null()) return 0;
  if (!value.is_number_integer() || value < first || value >= kMostChannels + first) {
    Refuse("channel is not a number from " + std::to_string(first));
  }
  return value.get<int32_t>() + 1 - first;
}

constexpr std::array kPaths = {"path", "audio_filepath", "file", "audio", "wav"};
constexpr std::array kStarts = {"offset", "start"};

void TakeSpan(Json& fields, Item& item) {
  if (const Json offset = Take(fields, kStarts); !offset.is_null()) item.offset = Seconds(offset, "offset");
  if (const Json duration = Take(fields, std::array{"duration"}); !duration.is_null())
    item.duration = Seconds(duration, "duration");
}

// A recording of Lhotse's: {"id", "sources": [{"type", "channels", "source"}], ...}.
void ReadSources(const Json& sources, Item& item) {
  if (!sources.is_array() || sources.size() != 1 || !sources[0].is_object()) Refuse("sources are not one");
  const Json type = sources[0].value("type", Json("file"));
  if (type != "file" && type != "command") Refuse("its source is neither a file nor a command");
  item.place = {Text(sources[0].value("source", Json()), "source"), type == "command"};
}

}  // namespace

void ReadJsonLine(const std::string& line, Item& item) {
  // One level deeper, as in the record of the line, which must be read again too.
  Json objects = ParseJson("[" + line + "]");
  if (!objects.is_array() || objects.size() != 1 || !objects[0].is_object()) Refuse("is not a JSON object");
  Json fields = std::move(objects[0]);
  const bool is_lhotse = fields.contains("sources") || fields.contains("recording_id");
  if (const Json id = Take(fields, std::array{"id"}); !id.is_null()) item.id = Text(id, "id");
  item.given = std::move(fields);
  if (item.given.contains("sources")) {
    ReadSources(Take(item.given, std::array{"sources"}), item);
    return;  // whose duration is that of the recording
  }
  if (is_lhotse) {
    item.recording = Text(Take(item.given, std::array{"recording_id"}), "recording_id");
  } else {
    item.place.path = Text(Take(item.given, kPaths), "path");
  }
  TakeSpan(item.given, item);
  item.channel = Channel(Take(item.given, std::array{"channel"}), is_lhotse ? 0 : 1);
}

std::vector<std::string> CsvFields(const std::string& line) {
  std::vector<std::string> fields(1);
  bool is_quoted = false;
  for (size_t at = 0; at < line.size(); ++at) {
    const char c = line[at];
    if (c == '"' && is_quoted && line.substr(at + 1, 1) == "\"") {
      fields.back() += line[++at];
    } else if (c == '"' && (is_quoted || fields.back().empty())) {
      is_quoted = !is_quoted;
    } else if (c == ',' && !is_quoted) {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  if (is_quoted) Refuse("a quotation mark is open at its end");
  return fields;
}

void ReadCsvLine(const std::string& line, const std::vector<std::string>& header, Item& item) {
  std::vector<std::string> values = CsvFields(line);
  if (values.size() != header.size()) {
    Refuse("has " + std::to_string(values.size()) + " fields, and the header " +
           std::to_string(header.size()));
  }
  Json fields = Json::object();
  for (size_t k = 0; k < header.size(); ++k) {
    if (!values[k].empty()) fields[header[k]] = std::move(values[k]);
  }
  if (const Json id = Take(fields, std::array{"id"}); !id.is_null()) item.id = Text(id, "id");
  if (const Json name = Take(fields, std::array{"recording_id"}); !name.is_null()) {
    item.recording = Text(name, "recording_id");
  } else {
    item.place.path = Text(Take(fields, kPaths), "path");
  }
  TakeSpan(fields, item);
  item.channel = Channel(Take(fields, std::array{"channel"}), 1);
  item.given = std::move(fields);
}

void ReadScpLine(const std::string& line, Item& item) {
  const std::vector<std::string_view> words = Words(line);
  if (words.size() < 2) Refuse("is not an id and a path");
  item.id = words[0];
  const auto first = static_cast<size_t>(words[1].data() - line.data());
  const size_t last = line.find_last_not_of(" \t\r");
  std::string place = line.substr(first, last + 1 - first);
  const bool is_command = place.ends_with('|');
  if (is_command) place.resize(place.find_last_not_of(" \t|") + 1);
  item.place = {std::move(place), is_command};
}

void ReadSegmentsLine(const std::string& line, Item& item) {
  const std::vector<std::string_view> words = Words(line);
  if (words.size() != 4 && words.size() != 5) Refuse("is not an id, a recording, a start and an end");
  item.id = words[0];
  item.recording = words[1];
  item.offset = Seconds(std::string(words[2]), "start");
  // A negative end is that of the recording.
  if (const std::optional<double> end = Number(words[3]); !end || *end >= 0) {
    const double seconds = Seconds(std::string(words[3]), "end");
    if (seconds <= item.offset) Refuse("ends before it starts");
    item.duration = seconds - item.offset;
  }
  if (words.size() == 5) item.channel = Channel(std::string(words[4]), 0);
}

}  // namespace vask::command
