// `vask score`: compare found speech with what is spoken.
#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "files/json_text.h"
#include "jobs/jobs.h"
#include "listing/listing.h"
#include "scoring/score.h"
#include "scoring/speech_list.h"
#include "terminal/errors.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(TRUTH and HYPOTHESIS are lists or folders of lists: RTTM, labels as Audacity writes them (.txt), TextGrid,
and the records of vask detect -f jsonl and vask batch. Recordings are told apart by the names that RTTM has for
them, by the names of the files of labels, or by the ids of vask batch. For each, and for all, tab-separated:
  FILE CHANNEL        the recording
  SCORED SPEECH       seconds that are scored, and seconds of true speech in them
  MISSED FALSE        true speech that is not in HYPOTHESIS, and the other way round, in % of the true speech
  UTTERANCES FOUND    those that are true, and those that a segment overlaps
  USABLE              % of them that exactly one segment overlaps, which overlaps no other one, starts 0.5 s
                      before to 0.1 s after it, and ends 0.15 s before to 0.7 s after it
  SPLIT MERGING WRONG utterances in several segments, segments over several utterances, and over none
  START END           found less true, at percentiles 10, 50 and 90, in seconds: negative is early
A recording that is missing in HYPOTHESIS has no speech there; one that is missing in TRUTH is left out, and told.
Examples:
  vask detect -f rttm calls/*.wav > found.rttm && vask score truth.rttm found.rttm
  vask score labels found.jsonl --json > score.jsonl
  vask score truth.rttm found.rttm --uem scored.uem --collar 0.25)";

struct ScoreArguments {
  std::string truth, hypothesis, uem;
  double collar = 0;  // s
  bool delivered = false, json = false;
};

constexpr double kPercentiles[] = {10, 50, 90, 95};

std::optional<double> Percent(double part, double whole) {
  return whole > 0 ? std::optional(100 * part / whole) : std::nullopt;
}

std::string Errors(const std::vector<double>& errors) {
  std::string text;
  for (const double percent : {10, 50, 90}) {
    text += (text.empty() ? "" : " ") + (errors.empty() ? "-" : Decimal(Percentile(errors, percent), 3));
  }
  return text;
}

std::string OrDash(const std::optional<double>& value) { return value ? Decimal(*value, 2) : "-"; }

std::string Row(const std::string& name, const std::string& channel, const Score& score) {
  std::string row = name;
  for (const std::string& field :
       {channel, Decimal(score.scored, 3), Decimal(score.speech, 3),
        OrDash(Percent(score.missed, score.speech)), OrDash(Percent(score.false_alarm, score.speech)),
        std::to_string(score.utterances), std::to_string(score.found),
        OrDash(Percent(score.usable, score.utterances)), std::to_string(score.split),
        std::to_string(score.merging), std::to_string(score.wrong), Errors(score.start_errors),
        Errors(score.end_errors)}) {
    row += "\t" + field;
  }
  return row + "\n";
}

using Object = Json;

Object ErrorsObject(const std::vector<double>& errors) {
  Object object;
  for (const double percent : kPercentiles) {
    object["p" + std::to_string(static_cast<int>(percent))] =
        errors.empty() ? Object(nullptr) : Object(Rounded(Percentile(errors, percent)));
  }
  return object;
}

std::string JsonRow(const Object& name, const Object& channel, const Score& score) {
  const Object object = {{"file", name},
                         {"channel", channel},
                         {"scored", Rounded(score.scored)},
                         {"speech", Rounded(score.speech)},
                         {"missed", Rounded(score.missed)},
                         {"false", Rounded(score.false_alarm)},
                         {"utterances", score.utterances},
                         {"found", score.found},
                         {"usable", score.usable},
                         {"split", score.split},
                         {"segments", score.segments},
                         {"merging", score.merging},
                         {"wrong", score.wrong},
                         {"start_error", ErrorsObject(score.start_errors)},
                         {"end_error", ErrorsObject(score.end_errors)}};
  return LineOf(object);
}

void ScoreLists(const ScoreArguments& arguments) {
  const SpeechLists truth = ReadSpeechLists(arguments.truth, arguments.delivered);
  const SpeechLists found = ReadSpeechLists(arguments.hypothesis, arguments.delivered);
  std::optional<ScoredParts> parts;
  if (!arguments.uem.empty()) parts = ReadScoredParts(arguments.uem);

  Score all;
  int scored = 0;
  std::string table;
  for (const auto& [key, speech] : truth) {
    const std::vector<SpeechInterval>* parts_here = nullptr;
    if (parts) {
      const auto entry = parts->find(key);
      if (entry == parts->end()) continue;
      parts_here = &entry->second;
    }
    const auto entry = found.find(key);
    const Score score = ScoreOf(speech, entry != found.end() ? entry->second : RecordingSpeech(), parts_here,
                                arguments.collar);
    table += arguments.json ? JsonRow(key.name, key.channel, score)
                            : Row(Printable(key.name), std::to_string(key.channel), score);
    all.Add(score);
    ++scored;
  }
  if (scored == 0)
    throw FileError(arguments.truth, "nothing of it is scored", "check the names in the lists");
  for (const auto& [key, speech] : found) {
    if (!truth.contains(key)) Note(key.name + ": is not in " + arguments.truth + " and not scored");
  }
  WriteOutput(table + (arguments.json ? JsonRow(nullptr, nullptr, all) : Row("all", "-", all)));
}

}  // namespace

Job ScoreJob(CLI::App& app) {
  const auto arguments = std::make_shared<ScoreArguments>();
  CLI::App* score = app.add_subcommand("score", "Compare found utterances with true ones");
  score->footer(kFooter);
  score->add_option("TRUTH", arguments->truth, "What is spoken: a list, or a folder of lists")->required();
  score->add_option("HYPOTHESIS", arguments->hypothesis, "What was found, likewise")->required();
  score->add_option("--uem", arguments->uem, "Score only what this file lists: NAME CHANNEL START END")
      ->type_name("FILE");
  score->add_option("--collar", arguments->collar, "Score no time this near to a true edge (0)")
      ->type_name("S")
      ->check(CLI::Range(0.0, 10.0));
  score->add_flag("--delivered", arguments->delivered,
                  "Take the delivered spans of records, padding included");
  score->add_flag("--json", arguments->json,
                  "Print a JSON object a recording; the last one, without a name, is of all");
  return {score, [arguments] {
            ScoreLists(*arguments);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
