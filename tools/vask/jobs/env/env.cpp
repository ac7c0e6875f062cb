// `vask env`: how well the speech in recordings stands out from the background.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "jobs/env/examination.h"
#include "jobs/jobs.h"
#include "terminal/errors.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(For whom: whoever must tell good recordings from bad ones before somebody listens to them.
Output: one line per recording, with tab-separated columns, or with --json one object per line:
  FILE  VERDICT  FIRST and LAST change (seconds)  SNR (dB)  lowest and highest SAMPLE  MEANING
  SPEECH_SNR (dB)  CLIPPED (percent of the speech)  PART  FROM  TO (seconds)
with - (null) for missing values. SPEECH_SNR compares the mean level of all speech with that of the background,
and MEANING says what that means: good (15 dB and more), fair, poor (less than 10 dB, or more than 1 %
clipped) or no speech.
VERDICT, the changes and SNR are those of the front end's own check, which is made for one utterance with
half a second of background before and after:
   0  the speech stands out from the background, and the level rose where it began
   1  it stands out, but it began softly: the level had risen before
   2  it is close to the background at its end
  -1  there was no clear beginning and end
A recording of more than 20.48 s has a line for each utterance and its surroundings before its own: PART is their
number, and - in the line of the recording. Its VERDICT is then 0, 2 if it is poor or -1 without speech.
Examples:
  vask env call.wav
  vask env calls/*.wav | awk -F'\t' '$11 == "-" { print $9, $1 }' | sort -n
  vask env --json calls/*.wav | jq -r 'select(.bad) | .file')";

using Json = nlohmann::ordered_json;

std::string Number(const std::optional<double>& value, int decimals) {
  char text[32] = "-";
  if (value) std::snprintf(text, sizeof text, "%.*f", decimals, *value);
  return text;
}

// A part's times are from the start of the recording, too.
std::optional<double> Later(const std::optional<double>& seconds, double from) {
  return seconds ? std::optional(*seconds + from) : std::nullopt;
}

std::optional<double> SpeechSnr(const Finding& finding) {
  return finding.loudness ? std::optional(finding.loudness->snr_db) : std::nullopt;
}

// "FILE VERDICT FIRST ..." of a recording, or of a part, which has a number.
std::string LineOf(const std::string& input, const Examination& examination, const Finding& finding,
                   size_t number) {
  const bool is_part = number > 0;
  const Judgement judgement = finding.judgement.value_or(Judgement());
  const bool has_code = finding.judgement || !is_part;
  const int16_t lowest = is_part ? judgement.sample_min : examination.sample_min;
  const int16_t highest = is_part ? judgement.sample_max : examination.sample_max;
  std::string line = Printable(input);
  for (const std::string& column :
       {has_code ? std::to_string(is_part ? judgement.code : examination.Code()) : "-",
        Number(Later(judgement.first_change, finding.from), 3),
        Number(Later(judgement.last_change, finding.from), 3), Number(judgement.snr_db, 1),
        has_code ? std::to_string(lowest) : "-", has_code ? std::to_string(highest) : "-", finding.Meaning(),
        Number(SpeechSnr(finding), 1), is_part ? "-" : Number(100 * finding.clipped, 2),
        is_part ? std::to_string(number) : "-", Number(finding.from, 2), Number(finding.to, 2)}) {
    line += "\t" + column;
  }
  return line + "\n";
}

Json Rounded(const std::optional<double>& value) {
  return value ? Json(std::round(*value * 1000) / 1000) : Json(nullptr);
}

// What recordings and their parts have in common.
void AddTo(Json& object, const Finding& finding) {
  const Judgement judgement = finding.judgement.value_or(Judgement());
  object["meaning"] = finding.Meaning();
  object["quality"] = NameOf(finding.quality);
  object["bad"] = finding.quality == Quality::kPoor || finding.quality == Quality::kNoSpeech;
  object["first_change"] = Rounded(Later(judgement.first_change, finding.from));
  object["last_change"] = Rounded(Later(judgement.last_change, finding.from));
  object["changes"] = finding.judgement ? Json(judgement.changes) : Json(nullptr);
  object["snr_db"] = Rounded(judgement.snr_db);
  object["judged_from"] = Rounded(finding.from + judgement.judged_from);
  object["judged_to"] = Rounded(finding.to);
  object["speech_snr_db"] = Rounded(SpeechSnr(finding));
  const auto level = [&](double Loudness::*db) {
    return finding.loudness ? Rounded((*finding.loudness).*db) : Json(nullptr);
  };
  object["speech_db"] = level(&Loudness::speech_db);
  object["background_db"] = level(&Loudness::background_db);
}

std::string ObjectOf(const std::string& input, const Examination& examination) {
  Json object = {{"file", input}, {"verdict", examination.Code()}};
  AddTo(object, examination.whole);
  object["sample_min"] = examination.sample_min;
  object["sample_max"] = examination.sample_max;
  object["clipped_percent"] = Rounded(100 * examination.whole.clipped);
  object["utterances"] = examination.utterances;
  object["speech_seconds"] = Rounded(examination.speech_seconds);
  object["parts"] = Json::array();
  for (const Finding& part : examination.parts) {
    Json& added = object["parts"].emplace_back();
    added["verdict"] = part.judgement ? Json(part.judgement->code) : Json(nullptr);
    AddTo(added, part);
  }
  // A file name need not be UTF-8.
  return PrintableJson(object.dump(-1, ' ', false, Json::error_handler_t::replace)) + "\n";
}

std::string LinesOf(const std::string& input, const Examination& examination) {
  std::string lines;
  for (size_t k = 0; k < examination.parts.size(); ++k)
    lines += LineOf(input, examination, examination.parts[k], k + 1);
  return lines + LineOf(input, examination, examination.whole, 0);
}

// Reports on standard error what the verdict does not cover.
void NoteLimits(const std::string& input, const Examination& examination) {
  if (examination.cancellation) Note(*examination.cancellation);
  const std::optional<Judgement>& judgement = examination.whole.judgement;
  if (!judgement || !judgement->restarted) return;
  std::fprintf(stderr, "vask: %s: judged from %.2f s on: an earlier sound was rejected as not speech\n",
               Printable(input).c_str(), judgement->judged_from);
}

int ExamineAll(const EngineOptions& options, const std::vector<std::string>& inputs,
               const ReadOptions& reading, bool json) {
  EngineSession engine(options);
  int status = EXIT_SUCCESS;
  for (const std::string& input : inputs) {
    try {
      const Examination examination = Examine(engine, options, {input, reading});
      NoteLimits(input, examination);
      WriteOutput((json ? ObjectOf : LinesOf)(input, examination));
      if (examination.shortfall) throw FileError(*examination.shortfall);
    } catch (const FileError& error) {
      std::fprintf(stderr, "vask: %s\n", error.what());
      status = kExitFailed;
    }
  }
  return status;
}

}  // namespace

Job EnvJob(CLI::App& app, const EngineOptions& engine) {
  struct Arguments {
    std::vector<std::string> inputs;
    ReadOptions reading;
    bool json = false;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* env = app.add_subcommand("env", "Judge how well the speech stands out from the background");
  env->footer(kFooter);
  env->add_option("FILE", arguments->inputs, "Recordings, - for standard input")->required()->type_name("");
  env->add_flag("--json", arguments->json, "Print JSON objects, one per line");
  AddReadOptions(*env, arguments->reading);
  return {env, [arguments, &engine] {
            return ExamineAll(engine, arguments->inputs, arguments->reading, arguments->json);
          }};
}

}  // namespace vask::command
