#include "jobs/batch/record.h"

namespace vask::command {
namespace {

Json SegmentRecord(const Segment& segment) {
  Json record = {{"start", Rounded(segment.start)},
                 {"end", Rounded(segment.end)},
                 {"span_start", Rounded(segment.span_start)},
                 {"span_end", Rounded(segment.span_end)},
                 {"voiced", Rounded(segment.voiced)},
                 {"level_db", segment.level_db},
                 {"snr_db", segment.snr_db},
                 {"clipped", Rounded(segment.clipped)}};
  record[segment.rejected ? "reason" : "ended"] = segment.rejected ? segment.reason : segment.ended;
  return record;
}

void AddHeard(const Item& item, const Findings& heard, Json& record) {
  Json segments = Json::array(), rejected = Json::array();
  double speech = 0;
  for (const Segment& segment : heard.segments) {
    (segment.rejected ? rejected : segments).push_back(SegmentRecord(segment));
    if (!segment.rejected) speech += segment.end - segment.start;
  }
  record["whole"] = item.offset == 0 && !item.duration;
  record["duration"] = Rounded(heard.duration);
  record["rate"] = heard.rate;
  record["channels"] = heard.channels;
  record["utterances"] = segments.size();
  record["speech"] = Rounded(speech);
  record["segments"] = std::move(segments);
  record["rejected"] = std::move(rejected);
}

}  // namespace

Json RecordOf(const Item& item, const Findings& heard, const std::string& settings) {
  Json record = Json::object();  // a null one that finds no memory to become an object crashes
  record["id"] = item.id.empty() ? Json() : Json(item.id);
  if (item.id.empty()) record["line"] = item.text;
  record["path"] = item.place.path.empty() ? Json() : Json(item.place.path);
  if (!item.recording.empty()) record["recording"] = item.recording;
  record["offset"] = Rounded(item.offset);
  record["channel"] = item.channel > 0 ? Json(item.channel) : Json();
  const std::optional<Refusal>& refusal = item.refusal ? item.refusal : heard.failure;
  if (heard.rate > 0) AddHeard(item, heard, record);
  if (refusal) {
    record["error"] = refusal->message;
    record["kind"] = refusal->kind;
  }
  record["given"] = item.given;
  record["version"] = VASK_VERSION;
  record["settings"] = settings;
  return record;
}

bool IsError(const Json& record) { return record.contains("error"); }

std::string KeyOf(const Json& record) {
  const Json id = record.value("id", Json()), line = record.value("line", Json());
  if (id.is_string()) return "id:" + id.get<std::string>();
  return line.is_string() ? "line:" + line.get<std::string>() : "";
}

}  // namespace vask::command
