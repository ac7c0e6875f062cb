#include "jobs/environment.h"

#include <vask/ecd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "library/extractor.h"
#include "sound/audio_reader.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr int32_t kHistoryFrames = 2048;  // that the library keeps: 20.48 s
constexpr int16_t kClip = 30000;          // what the engine makes of its input, in place

double Seconds(int64_t frames) { return static_cast<double>(frames) * kFrameSamples / kRateHz; }

std::string Number(const std::optional<double>& value, int decimals) {
  char text[32] = "-";
  if (value) std::snprintf(text, sizeof text, "%.*f", decimals, *value);
  return text;
}

}  // namespace

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

Verdict JudgeEnvironment(EngineSession& engine, const std::string& input) {
  AudioReader reader(input);
  Progress progress(input, reader.ExpectedSamples());
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
    // The engine hears two frames before it keeps one, and empties its history when it rejects a segment: the
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
  return object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

}  // namespace vask::command
