#include "jobs/report/settings.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>

#include "format.h"
#include "listing/listing.h"

namespace vask::command {
namespace {

using nlohmann::json;

const double kDbOfUnit = 10 * std::log10(2) / 16;  // the energy detector's: 0.188 dB
constexpr float kLongLookBack = 0.4f;              // s: that of the output that bridges ...
constexpr float kBridged = 0.35f;                  // ... pauses under this many s
constexpr int32_t kFramesASecond = kRateHz / kFrameSamples;

bool IsLearned(const vask_stream_setup& setup) { return setup.detector == VASK_STREAM_LEARNED; }

std::string InSeconds(double value) { return Decimal(value, 2) + " s"; }
std::string SecondsOf(int32_t samples) { return InSeconds(static_cast<double>(samples) / kRateHz); }
std::string NameOf(const std::string& path) { return std::filesystem::path(path).filename().string(); }

void AddLearned(json& pairs, const ListenOptions& options, const vask_stream_rules& rules) {
  const float pause = rules.close_look_back >= kLongLookBack ? std::max(rules.pause, kBridged) : rules.pause;
  pairs.push_back({"detector", options.model.empty() ? "learned" : "learned, " + NameOf(options.model)});
  pairs.push_back({"probability at the start", Decimal(rules.open_probability, 2)});
  pairs.push_back({"pause that ends an utterance", InSeconds(pause)});
  pairs.push_back({"shortest", InSeconds(rules.shortest)});
  pairs.push_back(
      {"delivered before and after", Decimal(rules.margin_start, 2) + " and " + InSeconds(rules.margin_end)});
}

void AddEnergy(json& pairs, const ListenOptions& options, const vask_stream_setup& setup) {
  const vask_stream_options& stream = setup.options;
  pairs.push_back({"detector", "energy" + (options.preset.empty() ? "" : ", " + options.preset)});
  if (!options.profile.empty()) pairs.push_back({"profile", NameOf(options.profile)});
  if (!options.gain.empty()) pairs.push_back({"gain", options.gain + (options.gain == "auto" ? "" : " dB")});
  pairs.push_back({"speech above the noise floor", Decimal(StartThreshold(setup), 1) + " dB"});
  pairs.push_back({"pause that ends an utterance",
                   InSeconds(static_cast<double>(stream.profile.hangover_frames) / kFramesASecond)});
  if (stream.min_samples > 0) pairs.push_back({"shortest", SecondsOf(stream.min_samples)});
  if (stream.pad_start >= 0) pairs.push_back({"delivered before", SecondsOf(stream.pad_start)});
  if (stream.pad_end >= 0) pairs.push_back({"delivered after", SecondsOf(stream.pad_end)});
}

}  // namespace

double StartThreshold(const vask_stream_setup& setup) {
  return IsLearned(setup) ? double{setup.rules.open_probability}
                          : setup.options.profile.vad_threshold * kDbOfUnit;
}

json SettingsInWords(const ListenOptions& options, const vask_stream_setup& setup) {
  json pairs = json::array();
  if (IsLearned(setup)) {
    AddLearned(pairs, options, setup.rules);
  } else {
    AddEnergy(pairs, options, setup);
  }
  if (setup.options.max_samples > 0) pairs.push_back({"longest", SecondsOf(setup.options.max_samples)});
  return pairs;
}

}  // namespace vask::command
