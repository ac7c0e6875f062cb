#include "scoring/speech_list.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>

#include "files/input_file.h"
#include "files/json_text.h"
#include "files/words.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"

namespace vask::command {

namespace fs = std::filesystem;

namespace {

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    if (lines.back().ends_with('\r')) lines.back().remove_suffix(1);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::optional<int> Channel(std::string_view word) {
  constexpr double kMost = 1e6;  // far beyond any recording
  const auto number = Number(word);
  if (!number || !(std::abs(*number) <= kMost)) return std::nullopt;
  return static_cast<int>(*number);
}

// The name of a recording from that of its file or list.
std::string StemOf(const std::string& file) { return fs::path(file).stem().string(); }

class ListReader {
 public:
  ListReader(SpeechLists& lists, bool delivered) : lists_(lists), delivered_(delivered) {}

  void Read(const std::string& file) {
    file_ = file;
    std::error_code error;
    const std::string text = fs::is_empty(file, error) ? "" : ReadText(file);  // nobody speaks there
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
      throw FileError(file, "is UTF-16", "save it as UTF-8 (in Praat: Text writing preferences)");
    }
    if (HasEnding(file, ".rttm")) ReadRttm(text);
    if (HasEnding(file, ".txt")) ReadLabels(text);
    if (HasEnding(file, ".textgrid")) ReadTextGrid(text);
    if (HasEnding(file, ".jsonl")) ReadRecords(text);
  }

 private:
  [[noreturn]] void Refuse(size_t line, const char* what) const {
    throw FileError(file_ + ":" + std::to_string(line), what, "correct the line or remove it");
  }

  void Add(const RecordingKey& key, std::optional<double> start, std::optional<double> end, size_t line) {
    if (!start || !end || *start < 0 || *end < *start || !std::isfinite(*end))
      Refuse(line, "has no start and end in seconds");
    lists_[key].speech.push_back({*start, *end});
  }

  // TYPE FILE CHANNEL START DURATION ...
  void ReadRttm(std::string_view text) {
    size_t number = 0;
    for (const std::string_view line : Lines(text)) {
      ++number;
      const std::vector<std::string_view> words = Words(line);
      if (words.empty() || (words[0] != "SPEAKER" && words[0] != "SPKR-INFO")) continue;
      if (words.size() < 5) Refuse(number, "has fewer than 5 fields");
      const auto channel = Channel(words[2]);
      if (!channel) Refuse(number, "has no channel");
      const RecordingKey key = {std::string(words[1]), *channel};
      lists_.try_emplace(key);
      if (words[0] == "SPKR-INFO") continue;  // a recording in which nobody may speak
      const auto start = Number(words[3]), duration = Number(words[4]);
      Add(key, start, start && duration ? std::optional(*start + *duration) : std::nullopt, number);
    }
  }

  // START, END, TEXT between tabs; a line that begins with a backslash is a range of frequencies.
  void ReadLabels(std::string_view text) {
    const RecordingKey key = {StemOf(file_), 1};
    lists_.try_emplace(key);
    size_t number = 0;
    for (const std::string_view line : Lines(text)) {
      ++number;
      const std::vector<std::string_view> words = Words(line);
      if (words.empty() || words[0].starts_with('\\')) continue;
      if (words.size() > 2 && words[2] == "rejected") continue;
      if (words.size() < 2) Refuse(number, "has no start and end in seconds");
      Add(key, Number(words[0]), Number(words[1]), number);
    }
  }

  // The long form of a text file. Intervals without text are where nobody speaks.
  void ReadTextGrid(std::string_view text) {
    const RecordingKey key = {StemOf(file_), 1};
    RecordingSpeech& recording = lists_[key];
    bool is_in_tier = false, has_tier = false;
    std::optional<double> start, end;
    size_t number = 0;
    for (const std::string_view line : Lines(text)) {
      ++number;
      const std::vector<std::string_view> words = Words(line);
      if (words.size() < 3 || words[1] != "=") continue;
      if (words[0] == "class") {
        if (has_tier) return;
        has_tier = is_in_tier = words[2] == "\"IntervalTier\"";
      } else if (words[0] == "xmin") {
        start = Number(words[2]);
      } else if (words[0] == "xmax") {
        end = Number(words[2]);
        if (!is_in_tier && end) recording.seconds = *end;
      } else if (words[0] == "text" && is_in_tier && words[2] != "\"\"") {
        Add(key, start, end, number);
      }
    }
    if (!has_tier)
      throw FileError(file_, "has no tier of intervals", "save it as a text file, not a short one");
  }

  // One object a line: a segment or a recording of `vask detect`, or a record of `vask batch`.
  void ReadRecords(std::string_view text) {
    size_t number = 0;
    for (const std::string_view line : Lines(text)) {
      ++number;
      if (Words(line).empty()) continue;
      const Json record = ParseJson(std::string(line));
      if (!record.is_object()) Refuse(number, "is not a JSON object");
      const bool is_batch = record.contains("id");
      const Json name = record.value(is_batch ? "id" : "file", Json());
      if (!name.is_string()) Refuse(number, "names neither a file nor an id");
      const Json channel = record.value("channel", Json());
      const bool is_id = is_batch && name != record.value("path", Json());
      const RecordingKey key = {is_id ? name.get<std::string>() : StemOf(name.get<std::string>()),
                                channel.is_number_integer() ? channel.get<int>() : 1};
      RecordingSpeech& recording = lists_[key];
      recording.seconds = std::max(recording.seconds, NumberIn(record, "offset").value_or(0) +
                                                          NumberIn(record, "duration").value_or(0));
      if (is_batch) {
        for (const Json& segment : record.value("segments", Json::array())) AddSegment(key, segment, number);
      } else if (record.contains("start")) {
        AddSegment(key, record, number);
      }
    }
  }

  void AddSegment(const RecordingKey& key, const Json& segment, size_t line) {
    if (!segment.is_object()) Refuse(line, "has a segment that is not an object");
    if (segment.contains("rejected") && !segment["rejected"].is_null()) return;
    Add(key, NumberIn(segment, delivered_ ? "span_start" : "start"),
        NumberIn(segment, delivered_ ? "span_end" : "end"), line);
  }

  static std::optional<double> NumberIn(const Json& object, const char* name) {
    const Json value = object.value(name, Json());
    return value.is_number() ? std::optional(value.get<double>()) : std::nullopt;
  }

  SpeechLists& lists_;
  bool delivered_;
  std::string file_;
};

constexpr std::array<std::string_view, 4> kEndings = {".rttm", ".txt", ".textgrid", ".jsonl"};

bool IsList(const std::string& file) {
  return std::any_of(kEndings.begin(), kEndings.end(), [&](auto ending) { return HasEnding(file, ending); });
}

std::vector<std::string> ListsIn(const std::string& path) {
  std::error_code error;
  if (!fs::is_directory(path, error)) {
    if (!IsList(path))
      throw FileError(path, "is no list", "name a .rttm, .txt, .TextGrid or .jsonl, or a folder");
    return {path};
  }
  std::vector<std::string> lists;
  for (fs::directory_iterator entry(path, error), end; !error && entry != end; entry.increment(error)) {
    if (IsList(entry->path().string())) lists.push_back(entry->path().string());
  }
  if (error) throw FileError(path, error.message(), "ask its owner for permission to read it");
  if (lists.empty()) throw FileError(path, "holds no lists", "put .rttm, .txt, .TextGrid or .jsonl there");
  std::sort(lists.begin(), lists.end());
  return lists;
}

}  // namespace

SpeechLists ReadSpeechLists(const std::string& path, bool delivered) {
  SpeechLists lists;
  ListReader reader(lists, delivered);
  for (const std::string& file : ListsIn(path)) reader.Read(file);
  for (auto& [key, recording] : lists) {
    std::sort(recording.speech.begin(), recording.speech.end(), [](const auto& a, const auto& b) {
      return a.start < b.start || (a.start == b.start && a.end < b.end);
    });
  }
  return lists;
}

ScoredParts ReadScoredParts(const std::string& path) {
  ScoredParts parts;
  const std::string text = ReadText(path);
  size_t number = 0;
  for (const std::string_view line : Lines(text)) {
    ++number;
    const std::vector<std::string_view> words = Words(line);
    if (words.empty() || words[0].starts_with(";;")) continue;
    const auto channel = words.size() == 4 ? Channel(words[1]) : std::nullopt;
    const auto start = channel ? Number(words[2]) : std::nullopt,
               end = channel ? Number(words[3]) : std::nullopt;
    if (!start || !end || *end < *start) {
      throw FileError(path + ":" + std::to_string(number), "is not NAME CHANNEL START END",
                      "correct the line");
    }
    parts[{std::string(words[0]), *channel}].push_back({*start, *end});
  }
  return parts;
}

}  // namespace vask::command
