#include "report/report.h"

#include <algorithm>
#include <filesystem>
#include <future>
#include <nlohmann/json.hpp>
#include <vector>

#include "audio_reader.h"
#include "errors.h"
#include "progress.h"
#include "report/page.h"
#include "report/picture.h"
#include "report/traces.h"

namespace vask::command {
namespace {

using nlohmann::json;

constexpr size_t kBlock = size_t{10} * kRateHz;               // 10 s, which two threads share
constexpr int64_t kLongestExact = int64_t{4} * 60 * kRateHz;  // longer sound is coded

double Seconds(int64_t samples) { return static_cast<double>(samples) / kRateHz; }

std::string ReasonOf(int32_t reason) {
  switch (reason) {
    case VASK_STREAM_BY_SILENCE:
      return "silence";
    case VASK_STREAM_BY_LONG_NOISE:
      return "long noise";
    case VASK_STREAM_BY_INPUT_END:
      return "end of the recording";
    case VASK_STREAM_BY_SPLIT:
      return "split";
    case VASK_STREAM_TOO_SHORT:
      return "too short";
    case VASK_STREAM_TOO_LITTLE_VOICE:
      return "too little voice";
    case VASK_STREAM_TONES:
      return "tones";
    default:
      return "unknown";
  }
}

[[noreturn]] void ThrowNoStream(const vask_stream_options& options) {
  const char* complaint = vask_stream_complaint(&options);
  if (complaint == nullptr) throw std::bad_alloc();
  throw FatalError(complaint);
}

Stream Open(const vask_stream_options& options) {
  Stream stream(options);
  if (!stream) ThrowNoStream(options);
  return stream;
}

// The recording as it came in, and what the detector makes of it.
class Heard {
 public:
  Heard(StreamOptions options, const Fineness& fineness, std::optional<Sound::Type> sound)
      : stream_(Open(EventsOnly(options))), picture_(fineness, sound), traces_(fineness.trace_frames) {}

  void Add(std::span<const int16_t> samples) {
    picture_.Add(samples);
    while (!samples.empty()) {
      const auto frame = samples.first(std::min<size_t>(samples.size(), kFrameSamples));
      stream_.Write(frame);
      samples = samples.subspan(frame.size());
      traces_.Add(stream_.Measures());
      TakeEvents();
    }
  }

  void Finish() {
    stream_.Flush();  // with silence that is not part of the recording: it is not measured
    TakeEvents();
    picture_.Finish();
  }

  void WriteTo(Page& page) const {
    picture_.WriteTo(page, "input");
    page.AddValues("trace-level", traces_.level());
    page.AddValues("trace-energy", traces_.energy());
    page.AddValues("trace-noise", traces_.noise());
    page.AddValues("trace-flags", traces_.flags());
  }

  const json& segments() const { return segments_; }

 private:
  static StreamOptions EventsOnly(StreamOptions options) {
    options.mode = VASK_STREAM_UTTERANCES;
    options.audio = VASK_STREAM_NO_AUDIO;
    return options;
  }

  void TakeEvents() {
    while (const auto event = stream_.Next()) {
      if (event->kind == VASK_STREAM_STARTED) continue;
      const bool rejected = event->kind == VASK_STREAM_REJECTED;
      segments_.push_back({{"number", rejected ? json() : json(++utterances_)},
                           {"start", Seconds(event->start)},
                           {"end", Seconds(event->end)},
                           {"span_start", Seconds(event->span_start)},
                           {"span_end", Seconds(event->span_end)},
                           {"voiced", event->voiced},
                           {"level", event->level_db},
                           {"ended", rejected ? json() : json(ReasonOf(event->reason))},
                           {"rejected", rejected ? json(ReasonOf(event->reason)) : json()}});
    }
  }

  Stream stream_;
  Picture picture_;
  Traces traces_;
  int utterances_ = 0;
  json segments_ = json::array();
};

// The recording without its noise, in step with the input.
class Cleaned {
 public:
  Cleaned(StreamOptions options, const Fineness& fineness, std::optional<Sound::Type> sound)
      : stream_(Open(Continuous(options))), picture_(fineness, sound), samples_(kBlock) {}

  void Add(std::span<const int16_t> samples) {
    while (!samples.empty()) {
      const int32_t taken = stream_.Write(samples);
      if (taken < 0) throw std::bad_alloc();
      samples = samples.subspan(static_cast<size_t>(taken));
      Take();
    }
  }

  void Finish() {
    stream_.Flush();
    Take();
    picture_.Finish();
  }

  void WriteTo(Page& page) const { picture_.WriteTo(page, "output"); }

 private:
  static StreamOptions Continuous(StreamOptions options) {
    options.mode = VASK_STREAM_CONTINUOUS;
    options.audio = VASK_STREAM_CLEAN;
    return options;
  }

  void Take() {
    for (auto got = stream_.Read(samples_); !got.empty(); got = stream_.Read(samples_)) picture_.Add(got);
  }

  Stream stream_;
  Picture picture_;
  std::vector<int16_t> samples_;
};

}  // namespace

void Report(const std::string& input, const std::string& output, const ReportOptions& options) {
  AudioReader reader(input);
  Page page(output);
  const int64_t expected = reader.ExpectedSamples();
  const bool exact = expected > 0 && expected <= kLongestExact;
  std::optional<Sound::Type> sound;
  if (!options.no_audio) sound = exact ? Sound::Type::kWav : Sound::Type::kOpus;
  const Fineness fineness = Fineness::For(expected);
  Heard heard(options.detector, fineness, sound);
  Cleaned cleaned(options.detector, fineness, sound);

  Progress progress(input, expected);
  std::vector<int16_t> block(kBlock);
  int64_t length = 0;
  for (size_t n = kBlock; n == kBlock;) {
    n = reader.Read(block);
    const auto samples = std::span(block).first(n);
    auto other = std::async(std::launch::async, [&] { cleaned.Add(samples); });
    heard.Add(samples);
    other.get();
    length += static_cast<int64_t>(n);
    progress.Update(length);
  }
  heard.Finish();
  cleaned.Finish();

  page.AddJson("report", {{"file", std::filesystem::path(input).filename().string()},
                          {"title", options.title},
                          {"seconds", Seconds(length)},
                          {"segments", heard.segments()},
                          {"sound", !sound ? json() : json(exact ? "audio/wav" : "audio/ogg; codecs=opus")},
                          {"envelope_step", Seconds(fineness.envelope_step)},
                          {"spectrogram_step", Seconds(kFrameSamples * fineness.spectrogram_frames)},
                          {"spectrogram_lowest", Spectrogram::kLowestDb},
                          {"trace_step", Seconds(kFrameSamples * fineness.trace_frames)},
                          {"trace_steps_per_db", Traces::kStepsPerDb},
                          {"level_lowest", Traces::kLowestLevelDb}});
  heard.WriteTo(page);
  cleaned.WriteTo(page);
  page.Commit();
}

}  // namespace vask::command
