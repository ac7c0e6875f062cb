// `vask env`: whether the speech in a recording stands out from the background.
#include <vask/ecd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "jobs/jobs.h"
#include "library/extractor.h"
#include "sound/audio_reader.h"
#include "terminal/errors.h"
#include "terminal/progress.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(Output: one line per file, with tab-separated columns, or with --json one object per line:
  FILE  VERDICT  FIRST and LAST change (seconds)  SNR (dB)  lowest and highest SAMPLE  MEANING
with - (null) for missing values. The verdict:
   0  the speech stands out from the background, and the level rose where it began
   1  it stands out from the background at its end, but the level rose too little
   2  it does not stand out from the background at its end
  -1  the environment did not change twice: no speech, or only speech
The library examines 20.48 s. The rest of a longer file is ignored, with a note on standard error; after a
sound that it rejects as not speech it starts again, with a note as well.
Examples:
  vask env call.wav
  vask env --json calls/*.wav | jq -r 'select(.verdict != 0) | .file')";

constexpr int32_t kHistoryFrames = 2048;  // kept by the library: 20.48 s
constexpr int16_t kClip = 30000;          // the engine clips its input to this, in place

struct Verdict {
  int32_t code = -1;                                // of Vask_epd_ecd
  int32_t changes = 0;                              // their number
  std::optional<double> first_change, last_change;  // s
  std::optional<double> snr_db;
  int16_t sample_min = 0, sample_max = 0;
  double judged_from = 0, judged_to = 0;    // s: the part of the file that the library's histories hold
  double length = 0;                        // s
  bool restarted = false;                   // the engine rejected a sound as not speech and started again
  std::optional<std::string> cancellation;  // what is to be said of a mix of channels
  std::optional<FileError> shortfall;       // the recording is shorter than its header says
};

double Seconds(int64_t frames) { return static_cast<double>(frames) * kFrameSamples / kRateHz; }

std::string Number(const std::optional<double>& value, int decimals) {
  char text[32] = "-";
  if (value) std::snprintf(text, sizeof text, "%.*f", decimals, *value);
  return text;
}

// What a code of Vask_epd_ecd means.
const char* MeaningOf(int32_t code) {
  switch (code) {
    case 0:
      return "the speech stands out from the background";
    case 1:
      return "the speech stands out at its end, but the level rose too little where it began";
    case 2:
      return "the speech does not stand out from the background";
    default:
      return "no speech: the environment did not change twice";
  }
}

// Runs the engine and the extractor over the same frames, in mode 1, then judges the recording.
Verdict JudgeEnvironment(EngineSession& engine, const SoundInput& input) {
  AudioReader reader(input);
  Progress progress(input.path, reader.ExpectedSamples());
  Extractor extractor;
  engine.WrapUp();
  Vask_epd_ecd_reset();

  Verdict verdict;
  Frame frame;
  int64_t t = 0, row_zero = 0, length = 0;  // frames; frame of the histories' first entry; samples
  for (size_t n = kFrameSamples; n == kFrameSamples && ecdorgFrames < kHistoryFrames; ++t) {
    n = reader.Read(frame);
    if (n == 0) break;
    std::fill(frame.begin() + static_cast<std::ptrdiff_t>(n), frame.end(), int16_t{0});
    length += static_cast<int64_t>(n);
    const int32_t entries = ecdorgFrames;
    engine.Feed(frame);
    // The engine takes two frames before it keeps one, and empties its history when it rejects a segment: the
    // extractor gets the frames that the engine kept.
    if (ecdorgFrames < entries) verdict.restarted = true;
    if (ecdorgFrames != entries + 1) continue;
    if (entries == 0) row_zero = t;
    for (int16_t& sample : frame) sample = std::clamp<int16_t>(sample, -kClip, kClip);
    extractor.Feed(frame, false);
    progress.Update(length);
  }
  verdict.judged_from = Seconds(ecdFrames > 0 ? row_zero : t);
  verdict.judged_to = static_cast<double>(length) / kRateHz;
  verdict.length = std::max(verdict.judged_to, static_cast<double>(reader.ExpectedSamples()) / kRateHz);
  verdict.shortfall = reader.Shortfall();
  verdict.cancellation = reader.Cancellation();

  int32_t first = -1, last = -1;
  EnvChangeValue(&first, &last, &verdict.changes);
  if (first >= 0) verdict.first_change = Seconds(row_zero + first);
  if (last >= 0) verdict.last_change = Seconds(row_zero + last);
  verdict.code = Vask_epd_ecd();
  const float snr = Vask_epd_ecd_snr(&verdict.sample_min, &verdict.sample_max);
  if (verdict.code >= 0 && std::isfinite(snr)) verdict.snr_db = static_cast<double>(snr);
  return verdict;
}

std::string LineOf(const std::string& input, const Verdict& verdict) {
  return Printable(input) + "\t" + std::to_string(verdict.code) + "\t" + Number(verdict.first_change, 3) +
         "\t" + Number(verdict.last_change, 3) + "\t" + Number(verdict.snr_db, 1) + "\t" +
         std::to_string(verdict.sample_min) + "\t" + std::to_string(verdict.sample_max) + "\t" +
         MeaningOf(verdict.code);
}

std::string JsonOf(const std::string& input, const Verdict& verdict) {
  const auto number = [](const std::optional<double>& value) {
    return value ? nlohmann::ordered_json(std::round(*value * 1000) / 1000) : nlohmann::ordered_json(nullptr);
  };
  const nlohmann::ordered_json object = {
      {"file", input},
      {"verdict", verdict.code},
      {"meaning", MeaningOf(verdict.code)},
      {"first_change", number(verdict.first_change)},
      {"last_change", number(verdict.last_change)},
      {"changes", verdict.changes},
      {"snr_db", number(verdict.snr_db)},
      {"sample_min", verdict.sample_min},
      {"sample_max", verdict.sample_max},
      {"judged_from", number(verdict.judged_from)},
      {"judged_to", number(verdict.judged_to)},
  };
  // A file name need not be UTF-8.
  return PrintableJson(object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

// Reports on standard error what the verdict does not cover.
void NoteLimits(const std::string& input, const Verdict& verdict) {
  if (verdict.cancellation) Note(*verdict.cancellation);
  if (verdict.length > verdict.judged_to + 0.005) {
    std::fprintf(stderr, "vask: %s: %.2f of %.2f s were examined\n", Printable(input).c_str(),
                 verdict.judged_to, verdict.length);
  }
  if (verdict.restarted) {
    std::fprintf(stderr, "vask: %s: judged from %.2f s on: an earlier sound was rejected as not speech\n",
                 Printable(input).c_str(), verdict.judged_from);
  }
}

int JudgeAll(const EngineOptions& options, const std::vector<std::string>& inputs, const ReadOptions& reading,
             bool json) {
  EngineSession engine(options);
  int status = EXIT_SUCCESS;
  for (const std::string& input : inputs) {
    try {
      const Verdict verdict = JudgeEnvironment(engine, {input, reading});
      NoteLimits(input, verdict);
      WriteOutput((json ? JsonOf : LineOf)(input, verdict) + "\n");
      if (verdict.shortfall) throw FileError(*verdict.shortfall);
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
  CLI::App* env = app.add_subcommand("env", "Judge whether the speech stands out from the background");
  env->footer(kFooter);
  env->add_option("FILE", arguments->inputs, "Recordings")->required()->type_name("");
  env->add_flag("--json", arguments->json, "Print JSON objects, one per line");
  AddReadOptions(*env, arguments->reading);
  return {env, [arguments, &engine] {
            return JudgeAll(engine, arguments->inputs, arguments->reading, arguments->json);
          }};
}

}  // namespace vask::command
