#include "jobs/detect/journal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>

#include "terminal/errors.h"

namespace vask::command {
namespace {

using Json = nlohmann::ordered_json;

// A name as text that JSON can hold, different for different names.
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

Segment ToSegment(const Json& json) {
  Segment s;
  json.at(0).get_to(s.number);
  json.at(1).get_to(s.rejected);
  json.at(2).get_to(s.start);
  json.at(3).get_to(s.end);
  json.at(4).get_to(s.span_start);
  json.at(5).get_to(s.span_end);
  json.at(6).get_to(s.first);
  json.at(7).get_to(s.last);
  json.at(8).get_to(s.voiced);
  json.at(9).get_to(s.ended);
  json.at(10).get_to(s.reason);
  return s;
}

}  // namespace

void SegmentNotes::Add(const Segment& s) {
  const Json json = {s.number, s.rejected, s.start,  s.end,   s.span_start, s.span_end,
                     s.first,  s.last,     s.voiced, s.ended, s.reason};
  if (!text_.empty()) text_ += ',';
  text_ += json.dump();
}

std::optional<InputState> StateOf(const std::string& file, const std::string& base) {
  struct stat status;
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return InputState{file, base, status.st_size,
                    status.st_mtim.tv_sec * INT64_C(1000000000) + status.st_mtim.tv_nsec};
}

Journal::Journal(const std::string& folder, const std::string& options, bool resume)
    : name_(folder + "/.vask-detect.jsonl"), options_(options) {
  const int flags = O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC;
  if (!resume) unlink(name_.c_str());
  fd_ = open(name_.c_str(), flags, 0666);
  if (fd_ < 0) {
    throw FatalError(Printable(name_) + ": cannot be written (" + std::strerror(errno) +
                     "): check the folder and its permissions");
  }
  if (resume) Index();
}

Journal::~Journal() { close(fd_); }

std::string Journal::Key(const InputState& input) const {
  const Json key = {options_, Coded(input.file), Coded(input.base), input.size, input.modified};
  return key.dump();
}

// A line is {"input":KEY,"result":...}. One that a full disk cut short is none, nor does it spoil the next
// one.
void Journal::Index() {
  std::ifstream file(name_, std::ios::binary);
  int64_t place = 0;
  bool ended = true;
  for (std::string line; std::getline(file, line);) {
    ended = !file.eof();
    const Json json = Json::parse(line, nullptr, false);
    if (ended && json.is_object() && json.contains("input")) {
      lines_[json["input"].dump()] = {place, line.size()};
    }
    place += static_cast<int64_t>(line.size()) + 1;
  }
  if (!ended && write(fd_, "\n", 1) != 1) throw FileError(name_, "cannot be written", "make room");
}

std::optional<Finished> Journal::Find(const InputState& input) {
  const auto found = lines_.find(Key(input));
  if (found == lines_.end()) return std::nullopt;
  const auto [place, length] = found->second;
  std::string line(length, '\0');
  if (pread(fd_, line.data(), length, place) != static_cast<ssize_t>(length)) return std::nullopt;
  try {
    const Json result = Json::parse(line).at("result");
    Finished finished;
    finished.recording = {input.file, result.at("rate"), result.at("channels"), result.at("seconds")};
    for (const Json& segment : result.at("segments")) finished.segments.push_back(ToSegment(segment));
    return finished;
  } catch (const Json::exception&) {
    return std::nullopt;  // somebody else wrote in it
  }
}

void Journal::Add(const InputState& input, const Recording& recording, const SegmentNotes& segments) {
  const Json head = {
      {"rate", recording.rate}, {"channels", recording.channels}, {"seconds", recording.seconds}};
  std::string text = "{\"input\":" + Key(input) + ",\"result\":" + head.dump();
  text.back() = ',';
  text += "\"segments\":[";
  text += segments.text();
  text += "]}}\n";
  const std::lock_guard lock(mutex_);
  if (write(fd_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw FileError(name_, std::string("cannot be written (") + std::strerror(errno) + ")",
                    "make room; --resume will do this input again");
  }
}

}  // namespace vask::command
