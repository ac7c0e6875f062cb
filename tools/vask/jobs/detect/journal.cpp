#include "jobs/detect/journal.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

#include "files/json_text.h"

namespace vask::command {
namespace {

// A name as text that JSON can hold; different names stay different.
std::string Coded(const std::string& name) {
  std::string text;
  for (const char c : name) {
    if (c >= ' ' && c < 127 && c != '%') {
      text += c;
    } else {
      char code[4];
      std::snprintf(code, sizeof code, "%%%02X", static_cast<unsigned char>(c));
      text += code;
    }
  }
  return text;
}

std::string Decoded(const std::string& text) {
  std::string name;
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned int code = 0;
    if (text[i] == '%' && std::sscanf(text.c_str() + i + 1, "%2X", &code) == 1) i += 2;
    name += code != 0 ? static_cast<char>(code) : text[i];
  }
  return name;
}

// Never outside the folder, nor one of our own hidden files.
bool IsNameInFolder(const std::string& name) {
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of(std::string_view("/\0", 2)) == std::string::npos && name.rfind(".vask-", 0) != 0;
}

// As in a listing, which may go to a terminal.
bool IsWord(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c >= 'a' && c <= 'z') || c == '-'; });
}

// Throws Json::exception for anything but a whole number: another may be outside the range of the type.
template <typename T>
T Whole(const Json& json) {
  return static_cast<T>(json.get_ref<const Json::number_integer_t&>());
}

std::optional<Segment> ToSegment(const Json& json) {
  Segment s;
  s.number = Whole<int>(json.at(0));
  json.at(1).get_to(s.rejected);
  json.at(2).get_to(s.start);
  json.at(3).get_to(s.end);
  json.at(4).get_to(s.span_start);
  json.at(5).get_to(s.span_end);
  s.first = Whole<int64_t>(json.at(6));
  s.last = Whole<int64_t>(json.at(7));
  json.at(8).get_to(s.voiced);
  json.at(9).get_to(s.ended);
  json.at(10).get_to(s.reason);
  json.at(11).get_to(s.level_db);
  json.at(12).get_to(s.snr_db);
  json.at(13).get_to(s.clipped);
  if (!IsWord(s.ended) || !IsWord(s.reason)) return std::nullopt;
  return s;
}

std::optional<std::vector<FileStamp>> ToStamps(const Json& json) {
  std::vector<FileStamp> stamps;
  for (const Json& file : json) {
    stamps.push_back({Decoded(file.at(0)), Whole<int64_t>(file.at(1)), Whole<uint32_t>(file.at(2))});
    if (!IsNameInFolder(stamps.back().name)) return std::nullopt;
  }
  return stamps;
}

}  // namespace

void SegmentNotes::Add(const Segment& s) {
  const Json json = {s.number, s.rejected, s.start, s.end,    s.span_start, s.span_end, s.first,
                     s.last,   s.voiced,   s.ended, s.reason, s.level_db,   s.snr_db,   s.clipped};
  if (!text_.empty()) text_ += ',';
  text_ += json.dump();
}

InputState StateOf(const std::string& path, const std::string& base, const std::string& file) {
  InputState state = {path, base};
  struct stat status;
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return state;
  state.size = status.st_size;
  state.modified = status.st_mtim.tv_sec * INT64_C(1000000000) + status.st_mtim.tv_nsec;
  state.repeatable = true;
  return state;
}

Journal::Journal(const std::string& folder, std::string options, size_t recordings, bool wait)
    : options_(std::move(options)), file_(folder, recordings, wait) {
  Load();
  LeaveOutWhatIsOver();
}

std::string Journal::Key(const InputState& input) const {
  const Json key = {options_, Coded(input.path), Coded(input.base), input.size, input.modified};
  return key.dump();
}

void Journal::Load() {
  inputs_.clear();
  names_.clear();
  lines_ = 0;
  file_.ReadLines([this](LedgerFile::Place place, const std::string& line) {
    ++lines_;
    try {
      Take(place, line);
    } catch (const Json::exception&) {
      // not a line of ours
    }
  });
}

// A line is {"claim":[PATH,BASE,NAME]} or {"input":KEY,"files":[[NAME,SIZE,CRC],...],"result":...}. A line of
// an earlier version has no "files": it says which there were, but not whether they were complete.
void Journal::Take(LedgerFile::Place place, const std::string& line) {
  const Json json = ParseJson(line);
  if (!json.is_object()) return;
  if (json.contains("claim")) {
    const Json& claim = json["claim"];
    const std::string base = Decoded(claim.at(1)), name = Decoded(claim.at(2));
    if (IsNameInFolder(base) && IsNameInFolder(name)) Own(Decoded(claim.at(0)), base, name);
  } else if (json.contains("files")) {
    const auto stamps = ToStamps(json["files"]);
    const std::string base = Decoded(json.at("input").at(2));
    if (stamps && IsNameInFolder(base)) Finish(Decoded(json["input"].at(1)), base, *stamps, place);
  } else if (json.contains("result")) {
    const std::string options = json.at("input").at(0), base = Decoded(json["input"].at(2));
    const char* ending = options.find(" flac ") != std::string::npos ? "flac" : "wav";
    if (!IsNameInFolder(base)) return;
    for (const Json& segment : json["result"].at("segments")) {
      char number[24];
      std::snprintf(number, sizeof number, "-%03d.", Whole<int>(segment.at(0)));
      Own("?" + base, base, base + number + ending);
    }
  }
}

void Journal::Own(const std::string& path, const std::string& base, const std::string& name) {
  Known& input = inputs_[path];
  input.path = path;
  input.base = base;
  const auto file = names_.try_emplace(name, nullptr).first;
  if (file->second == &input) return;
  if (file->second != nullptr) file->second->line.reset();  // it has lost one of its files
  file->second = &input;
  input.names.push_back(file);
}

void Journal::Finish(const std::string& path, const std::string& base, const std::vector<FileStamp>& files,
                     LedgerFile::Place place) {
  Known& input = inputs_[path];
  for (const Names::iterator& file : std::exchange(input.names, {})) {
    if (file->second == &input) file->second = nullptr;
  }
  input.path = path;
  input.base = base;
  for (const FileStamp& file : files) Own(path, base, file.name);
  input.finished = input.names.size();
  input.line = place;
}

// Drops what later lines supersede once that is most of the file.
void Journal::LeaveOutWhatIsOver() {
  std::string text;
  size_t lines = 0;
  const auto keep = [&](const std::string& line) {
    text += line + "\n";
    ++lines;
  };
  for (const auto& [path, input] : inputs_) {
    if (input.line) keep(file_.Line(*input.line));
    for (size_t k = input.line ? input.finished : 0; k < input.names.size(); ++k) {
      if (input.names[k]->second != &input) continue;
      const Json claim = {Coded(path), Coded(input.base), Coded(input.names[k]->first)};
      keep("{\"claim\":" + claim.dump() + "}");
    }
  }
  if (file_.has_head() && lines_ <= 2 * lines) return;
  file_.Replace(text);
  Load();
}

std::map<std::string, std::string> Journal::Bases() {
  const std::lock_guard lock(mutex_);
  std::map<std::string, std::string> bases;
  for (const auto& [path, input] : inputs_) {
    const bool some =
        std::any_of(input.names.begin(), input.names.end(),
                    [known = &input](const Names::iterator& file) { return file->second == known; });
    if (some && !path.starts_with('?')) bases[path] = input.base;
  }
  return bases;
}

std::optional<std::string> Journal::OwnerOf(const std::string& name) {
  const std::lock_guard lock(mutex_);
  const auto file = names_.find(name);
  if (file == names_.end() || file->second == nullptr) return std::nullopt;
  return file->second->path;
}

std::vector<std::string> Journal::NamesOf(const InputState& input) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  const auto known = inputs_.find(input.path);
  if (known == inputs_.end()) return names;
  for (const Names::iterator& file : known->second.names) {
    if (file->second == &known->second) names.push_back(file->first);
  }
  return names;
}

std::vector<std::string> Journal::RivalsOf(const InputState& input) {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> names;
  for (const char next : {'-', '.'}) {
    const std::string start = input.base + next;
    for (auto file = names_.lower_bound(start); file != names_.end() && file->first.starts_with(start);
         ++file) {
      const Known* owner = file->second;
      if (owner != nullptr && owner->base == input.base && owner->path != input.path)
        names.push_back(file->first);
    }
  }
  return names;
}

std::optional<Finished> Journal::Find(const InputState& input) {
  std::optional<LedgerFile::Place> place;
  {
    const std::lock_guard lock(mutex_);
    const auto known = inputs_.find(input.path);
    if (known != inputs_.end()) place = known->second.line;
  }
  if (!place) return std::nullopt;
  try {
    const Json json = ParseJson(file_.Line(*place));
    if (!json.is_object() || json.at("input").dump() != Key(input)) return std::nullopt;
    const Json& result = json.at("result");
    auto files = ToStamps(json.at("files"));
    if (!files) return std::nullopt;
    Finished finished;
    finished.recording.rate = Whole<int32_t>(result.at("rate"));
    finished.recording.channels = Whole<int32_t>(result.at("channels"));
    result.at("seconds").get_to(finished.recording.seconds);
    finished.recording.utterances = Whole<int32_t>(result.at("utterances"));
    result.at("speech").get_to(finished.recording.speech);
    finished.files = std::move(*files);
    for (const Json& json_segment : result.at("segments")) {
      const std::optional<Segment> segment = ToSegment(json_segment);
      if (!segment) return std::nullopt;
      finished.segments.push_back(*segment);
    }
    return finished;
  } catch (const Json::exception&) {
    return std::nullopt;  // not a line of ours
  }
}

void Journal::Claim(const InputState& input, const std::string& name) {
  {
    const std::lock_guard lock(mutex_);
    const auto file = names_.find(name);
    if (file != names_.end() && file->second != nullptr && file->second->path == input.path) return;
    const Json claim = {Coded(input.path), Coded(input.base), Coded(name)};
    file_.Append("{\"claim\":" + claim.dump() + "}");
    Own(input.path, input.base, name);
  }
  file_.Sync();
}

void Journal::Add(const InputState& input, const Recording& recording, const std::vector<FileStamp>& files,
                  const SegmentNotes& segments) {
  const Json head = {{"rate", recording.rate},        {"channels", recording.channels},
                     {"seconds", recording.seconds},  {"utterances", recording.utterances},
                     {"speech", recording.speech},    {"version", VASK_VERSION},
                     {"settings", recording.settings}};
  std::string text = "{\"input\":" + Key(input) + ",\"files\":[";
  for (const FileStamp& file : files) {
    const Json json = {Coded(file.name), file.size, file.crc};
    if (text.back() != '[') text += ',';
    text += json.dump();
  }
  text += "],\"result\":" + head.dump();
  text.back() = ',';
  text += "\"segments\":[" + segments.text() + "]}}";
  const std::lock_guard lock(mutex_);
  Finish(input.path, input.base, files, file_.Append(text));
}

}  // namespace vask::command
