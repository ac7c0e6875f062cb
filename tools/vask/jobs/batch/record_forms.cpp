#include "jobs/batch/record_forms.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "jobs/batch/record.h"
#include "listing/listing.h"
#include "listing/recording_names.h"

namespace vask::command {
namespace {

struct Interval {
  int number;  // from 1
  double start, end;
  double length() const { return Rounded(end - start); }
};

// What the forms have in common.
struct View {
  View(const Json& source, bool delivered) : record(source) {
    const std::string id = record.value("id", ""), path = record.value("path", "");
    // A path that serves as the id is no name: other lists have the file's.
    recording =
        OneWord(record.value("recording", id == path ? std::filesystem::path(path).stem().string() : id));
    name = record.contains("recording") ? OneWord(id) : recording;
    channel = record["channel"].is_number() ? record["channel"].get<int>() : 1;
    for (const Json& segment : record["segments"]) {
      intervals.push_back({static_cast<int>(intervals.size()) + 1,
                           segment[delivered ? "span_start" : "start"].get<double>(),
                           segment[delivered ? "span_end" : "end"].get<double>()});
    }
  }

  // Of equal width, so that sorting keeps their order.
  std::string Utterance(int number) const {
    char text[16];
    std::snprintf(text, sizeof text, "-%06d", number);
    return name + text;
  }
  std::string Track() const { return recording + " " + std::to_string(channel); }

  const Json& record;
  std::string recording, name;  // of the recording, and of the span
  int channel;                  // from 1
  std::vector<Interval> intervals;
};

std::string Rttm(const View& view) {
  std::string lines = "SPKR-INFO " + view.Track() + " <NA> <NA> <NA> unknown speech <NA> <NA>\n";
  for (const Interval& at : view.intervals) {
    lines += "SPEAKER " + view.Track() + " " + Decimal(at.start, 3) + " " + Decimal(at.length(), 3) +
             " <NA> <NA> speech <NA> <NA>\n";
  }
  return lines;
}

std::string Uem(const View& view) {
  const double start = view.record["offset"].get<double>();
  return view.Track() + " " + Decimal(start, 3) + " " +
         Decimal(start + view.record["duration"].get<double>(), 3) + "\n";
}

std::string Kaldi(const View& view) {
  std::string lines;
  for (const Interval& at : view.intervals) {
    lines += view.Utterance(at.number) + " " + view.recording + " " + Decimal(at.start, 3) + " " +
             Decimal(at.end, 3) + "\n";
  }
  return lines;
}

std::string Supervisions(const View& view) {
  std::string lines;
  for (const Interval& at : view.intervals) {
    lines += LineOf({{"id", view.Utterance(at.number)},
                     {"recording_id", view.recording},
                     {"start", at.start},
                     {"duration", at.length()},
                     {"channel", view.channel - 1}});
  }
  return lines;
}

// Of a recording that was heard to its end: a span does not tell how long the recording is.
std::string Recordings(const View& view) {
  const Json& record = view.record;
  if (!record["whole"].get<bool>()) return "";
  Json channels = Json::array();
  for (int channel = 0; channel < record["channels"].get<int>(); ++channel) channels.push_back(channel);
  return LineOf(
      {{"id", view.recording},
       {"sources", Json::array({{{"type", "file"}, {"channels", channels}, {"source", record["path"]}}})},
       {"sampling_rate", record["rate"]},
       {"num_samples", std::llround(record["duration"].get<double>() * record["rate"].get<double>())},
       {"duration", record["duration"]},
       {"channel_ids", channels}});
}

std::string Nemo(const View& view) {
  std::string lines;
  for (const Interval& at : view.intervals) {
    lines += LineOf({{"audio_filepath", view.record["path"]},
                     {"offset", at.start},
                     {"duration", at.length()},
                     {"label", "speech"}});
  }
  return lines;
}

constexpr std::pair<const char*, std::string (*)(const View&)> kForms[] = {
    {"rttm", Rttm},   {"uem", Uem},  {"lhotse-supervisions", Supervisions}, {"lhotse-recordings", Recordings},
    {"kaldi", Kaldi}, {"nemo", Nemo}};

}  // namespace

std::vector<std::string> RecordForms() {
  std::vector<std::string> names = {"jsonl"};
  for (const auto& form : kForms) names.emplace_back(form.first);
  return names;
}

std::string InForm(const std::string& form, const Json& record, bool delivered) {
  if (form == "jsonl") return LineOf(record);
  if (IsError(record)) return "";
  for (const auto& [name, lines] : kForms) {
    if (form == name) return lines(View(record, delivered));
  }
  return "";
}

}  // namespace vask::command
