#include "listen/listen_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <vask/stream.hpp>

#include "format.h"
#include "listen/profile_file.h"
#include "listing/listing.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr double kLeastSegment = 1.5;  // s: the margins, and something between them
constexpr int32_t kFramesASecond = kRateHz / kFrameSamples;
constexpr int32_t kFramesAnHour = 3600 * kFramesASecond;

int32_t Rounded(double value) { return static_cast<int32_t>(std::lround(value)); }

void ApplyProfile(const std::string& profile, int32_t os, vask_stream_options& stream) {
  if (NamesProfileFile(profile)) {
    ReadProfileFile(profile, stream.profile);
  } else if (profile == "general") {
    vask_stream_profile(2, 2, &stream.profile);
  } else {
    vask_stream_profile(std::stoi(profile), os, &stream.profile);
  }
}

}  // namespace

bool NamesProfileFile(const std::string& profile) {
  const bool number =
      std::all_of(profile.begin(), profile.end(), [](char c) { return c >= '0' && c <= '9'; });
  return profile != "general" && !(number && profile.size() < 10);
}

void AddListenOptions(CLI::App& command, ListenOptions& options) {
  const auto seconds = [&](const char* name, std::optional<double>& value, double least, int most,
                           const char* help) {
    command.add_option(name, value, help)->type_name("S")->check([least, most](const std::string& text) {
      double number = -1;
      if (CLI::detail::lexical_cast(text, number) && number >= least && number <= most) return std::string();
      return text + " is not " + (least > 0 ? Decimal(least, 1) : "0") + " to " + std::to_string(most) + " s";
    });
  };
  command.add_option("--preset", options.preset, "robust: for noisy rooms")
      ->type_name("NAME")
      ->check(CLI::IsMember({"robust"}));
  command
      .add_option("--profile", options.profile,
                  "Detector values: general, the number of a device, or a file with some of them")
      ->type_name("NAME|FILE")
      ->check([](const std::string& name) { return std::string(name.empty() ? "the name is empty" : ""); });
  seconds("--pad-start", options.pad_start, 0, 1000,
          "Start the span this long before the detected start (at most 0.35)");
  seconds("--pad-end", options.pad_end, 0, 1000,
          "End it this long after the detected end (at most the hangover)");
  seconds("--min-speech", options.min_speech, 0, 3600, "Reject segments that are shorter from start to end");
  seconds("--max-segment", options.max_segment, kLeastSegment, 36000,
          "Split longer utterances where they are quietest");
  seconds("--hangover", options.hangover, 0, 30, "Silence that ends an utterance (1)");
  command.add_option("--min-voiced", options.min_voiced, "Reject segments with fewer voiced frames of 10 ms")
      ->type_name("FRAMES")
      ->check(CLI::Range(0, kFramesAnHour));
  command
      .add_option("--max-tones", options.max_tones, "Reject segments with more tones among the voiced frames")
      ->type_name("PERCENT")
      ->check(CLI::Range(0, 100));
  command.add_option("--threshold", options.threshold, "How far speech must be above the noise (45)")
      ->type_name("UNITS")
      ->check(CLI::Range(0, 1000));
}

vask_stream_options StreamOptionsOf(const ListenOptions& options, int32_t device, int32_t os) {
  StreamOptions stream;
  stream.audio = VASK_STREAM_NO_AUDIO;
  stream.Device(device, os);
  if (options.preset == "robust") stream.Robust();
  if (!options.profile.empty()) ApplyProfile(options.profile, os, stream);
  const auto samples = [](const std::optional<double>& value, int32_t& field) {
    if (value) field = Rounded(*value * kRateHz);
  };
  samples(options.pad_start, stream.pad_start);
  samples(options.pad_end, stream.pad_end);
  samples(options.min_speech, stream.min_samples);
  samples(options.max_segment, stream.max_samples);
  if (options.hangover) stream.profile.hangover_frames = Rounded(*options.hangover * kFramesASecond);
  stream.min_voiced_frames = options.min_voiced.value_or(stream.min_voiced_frames);
  stream.max_tone_percent = options.max_tones.value_or(stream.max_tone_percent);
  stream.profile.vad_threshold = options.threshold.value_or(stream.profile.vad_threshold);
  if (stream.max_samples != 0 && stream.min_samples > stream.max_samples) {
    throw UsageError("--min-speech is above --max-segment");
  }
  // The other options have been checked one by one.
  if (const char* complaint = stream.Complaint()) throw UsageError(std::string("--profile: ") + complaint);
  return stream;
}

}  // namespace vask::command
