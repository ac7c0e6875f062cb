#include "jobs/report/report.h"

#include <filesystem>
#include <future>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "format.h"
#include "jobs/report/channel.h"
#include "jobs/report/page.h"
#include "jobs/report/settings.h"
#include "listen/input_gain.h"
#include "sound/audio_reader.h"
#include "sound/channel_reader.h"
#include "terminal/progress.h"
#include "terminal/version.h"

namespace vask::command {
namespace {

using nlohmann::json;

constexpr size_t kBlock = size_t{10} * kRateHz;           // 10 s, which two threads share
constexpr int64_t kLongestExact = int64_t{30} * kRateHz;  // longer sound is compressed

double Seconds(int64_t samples) { return static_cast<double>(samples) / kRateHz; }

struct Form {
  bool exact;
  std::optional<Sound::Type> sound;
  Fineness fineness;
};

Form FormOf(const ReportArguments& arguments, int64_t expected) {
  const bool exact = expected > 0 && expected <= kLongestExact;
  std::optional<Sound::Type> sound;
  if (!arguments.no_audio) sound = exact ? Sound::Type::kWav : Sound::Type::kOpus;
  return {exact, sound, Fineness::For(expected)};
}

std::vector<SoundInput> InputsOf(const ReportArguments& arguments) {
  if (arguments.reading.Channel() == kAllChannels) return EachChannel(arguments.input, arguments.reading);
  return {SoundInput(arguments.input, arguments.reading)};
}

// Writes all that is drawn and played of one channel, and returns its segments.
json AddChannel(const SoundInput& input, AudioReader& reader, const ReportArguments& arguments,
                const vask_stream_setup& setup, Page& page, size_t index) {
  const int64_t expected = reader.ExpectedSamples();
  const Form form = FormOf(arguments, expected);
  Heard heard(reader, setup, form.fineness, form.sound);
  Cleaned cleaned(setup, form.fineness, form.sound);
  InputGain gain(arguments.options.gain, input);
  Progress progress(NameOf(input.path, input.channel), expected);
  std::vector<int16_t> block(kBlock);
  int64_t length = 0;
  for (size_t n = 0; (n = reader.Read(block)) > 0;) {
    const auto samples = std::span(block).first(n);
    gain.Apply(samples);
    auto other = std::async([&] { cleaned.Add(samples); });  // if no thread can be started, get() does it
    heard.Add(samples);
    other.get();
    length += static_cast<int64_t>(n);
    progress.Update(length);
  }
  heard.Finish();
  cleaned.Finish();
  std::string suffix(1, '-');
  suffix += std::to_string(index);
  heard.WriteTo(page, suffix);
  cleaned.WriteTo(page, suffix);
  return {{"channel", input.channel}, {"seconds", Seconds(length)}, {"segments", heard.segments()}};
}

}  // namespace

void Report(const ReportArguments& arguments, int32_t device, int32_t os) {
  const ListenSetup listen(arguments.options, device, os);
  if (listen.joining.any()) {
    throw UsageError(
        "--pad-start is above 0.35 s or --pad-end above the pause: with --detector energy a report has no "
        "more");
  }
  const std::vector<SoundInput> inputs = InputsOf(arguments);
  std::optional<AudioReader> reader(inputs.front());
  Page page(arguments.output);
  json channels = json::array();
  const Form form = FormOf(arguments, reader->ExpectedSamples());
  for (size_t i = 0; i < inputs.size(); ++i) {
    if (i > 0) reader.emplace(inputs[i]);
    channels.push_back(AddChannel(inputs[i], *reader, arguments, listen.setup, page, i));
  }

  const std::string name = std::filesystem::path(arguments.input).filename().string();
  const char* const type = form.exact ? "audio/wav" : "audio/ogg; codecs=opus";
  page.AddJson("report", {{"file", arguments.input == "-" ? "standard input" : name},
                          {"title", arguments.title},
                          {"version", vask_version()},
                          {"seconds", channels.front()["seconds"]},
                          {"rate", reader->rate()},
                          {"input_channels", reader->channels()},
                          {"settings", SettingsInWords(arguments.options, listen.setup)},
                          {"channels", channels},
                          {"sound", form.sound ? json(type) : json()},
                          {"envelope_step", Seconds(form.fineness.envelope_step)},
                          {"spectrogram_step", Seconds(kFrameSamples * form.fineness.spectrogram_frames)},
                          {"spectrogram_lowest", Spectrogram::kLowestDb},
                          {"trace_step", Seconds(kFrameSamples * form.fineness.trace_frames)},
                          {"trace_steps_per_db", Traces::kStepsPerDb},
                          {"detector", listen.is_learned() ? "learned" : "energy"},
                          {"threshold", StartThreshold(listen.setup)},
                          {"close_threshold", listen.setup.rules.close_probability},
                          {"trace_steps_of_one", Traces::kStepsOfOne},
                          {"level_lowest", Traces::kLowestLevelDb}});
  page.Commit();
  reader->Conclude();
}

}  // namespace vask::command
