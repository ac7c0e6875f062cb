#include "jobs/report/report.h"

#include <algorithm>
#include <filesystem>
#include <future>
#include <new>
#include <nlohmann/json.hpp>
#include <vask/stream.hpp>
#include <vector>

#include "jobs/report/page.h"
#include "jobs/report/picture.h"
#include "jobs/report/traces.h"
#include "listen/input_gain.h"
#include "listen/segments.h"
#include "sound/audio_reader.h"
#include "terminal/errors.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

using nlohmann::json;

constexpr size_t kBlock = size_t{10} * kRateHz;               // 10 s, which two threads share
constexpr int64_t kLongestExact = int64_t{4} * 60 * kRateHz;  // longer sound is compressed

double Seconds(int64_t samples) { return static_cast<double>(samples) / kRateHz; }

Stream Open(vask_stream_setup setup, int32_t mode, int32_t audio) {
  setup.options.mode = mode;
  setup.options.audio = audio;
  Stream stream(setup);
  if (!stream) throw std::bad_alloc();
  return stream;
}

// The recording as it came in, and what the detector makes of it.
class Heard {
 public:
  Heard(const AudioReader& reader, const vask_stream_setup& setup, const Fineness& fineness,
        std::optional<Sound::Type> sound)
      : reader_(reader),
        stream_(Open(setup, VASK_STREAM_UTTERANCES, VASK_STREAM_NO_AUDIO)),
        picture_(fineness, sound),
        traces_(fineness.trace_frames) {}

  void Add(std::span<const int16_t> samples) {
    picture_.Add(samples);
    while (!samples.empty()) {
      const auto frame = samples.first(std::min<size_t>(samples.size(), kFrameSamples));
      stream_.Write(frame);
      samples = samples.subspan(frame.size());
      traces_.Add(stream_.Measures(), stream_.Hearing());
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
    page.AddValues("trace-speech", traces_.speech());
    page.AddValues("trace-music", traces_.music());
    page.AddValues("trace-flags", traces_.flags());
  }

  const json& segments() const { return segments_; }

 private:
  void TakeEvents() {
    while (const auto event = stream_.Next()) {
      if (event->kind == VASK_STREAM_STARTED) continue;
      const Segment segment = SegmentOf(*event, reader_);
      segments_.push_back({{"number", segment.rejected ? json() : json(++utterances_)},
                           {"start", segment.start},
                           {"end", segment.end},
                           {"span_start", segment.span_start},
                           {"span_end", segment.span_end},
                           {"voiced", segment.voiced},
                           {"level", event->level_db},
                           {"ended", segment.rejected ? json() : json(segment.ended)},
                           {"rejected", segment.rejected ? json(segment.reason) : json()}});
    }
  }

  const AudioReader& reader_;  // its clock
  Stream stream_;
  Picture picture_;
  Traces traces_;
  int utterances_ = 0;
  json segments_ = json::array();
};

// The recording without its noise, in step with the input.
class Cleaned {
 public:
  Cleaned(const vask_stream_setup& setup, const Fineness& fineness, std::optional<Sound::Type> sound)
      : stream_(Open(setup, VASK_STREAM_CONTINUOUS,
                     setup.detector == VASK_STREAM_LEARNED ? VASK_STREAM_LISTENING : VASK_STREAM_CLEAN)),
        picture_(fineness, sound),
        samples_(kBlock) {}

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
  void Take() {
    for (auto got = stream_.Read(samples_); !got.empty(); got = stream_.Read(samples_)) picture_.Add(got);
  }

  Stream stream_;
  Picture picture_;
  std::vector<int16_t> samples_;
};

}  // namespace

void Report(const ReportArguments& arguments, int32_t device, int32_t os) {
  const ListenSetup listen(arguments.options, device, os);
  const SoundInput input(arguments.input, arguments.reading);
  AudioReader reader(input);
  Page page(arguments.output);
  const int64_t expected = reader.ExpectedSamples();
  const bool exact = expected > 0 && expected <= kLongestExact;
  std::optional<Sound::Type> sound;
  if (!arguments.no_audio) sound = exact ? Sound::Type::kWav : Sound::Type::kOpus;
  const Fineness fineness = Fineness::For(expected);
  Heard heard(reader, listen.setup, fineness, sound);
  Cleaned cleaned(listen.setup, fineness, sound);

  InputGain gain(arguments.options.gain, input);
  Progress progress(arguments.input, expected);
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

  const std::string name = std::filesystem::path(arguments.input).filename().string();
  page.AddJson("report", {{"file", arguments.input == "-" ? "standard input" : name},
                          {"title", arguments.title},
                          {"seconds", Seconds(length)},
                          {"segments", heard.segments()},
                          {"sound", !sound ? json() : json(exact ? "audio/wav" : "audio/ogg; codecs=opus")},
                          {"envelope_step", Seconds(fineness.envelope_step)},
                          {"spectrogram_step", Seconds(kFrameSamples * fineness.spectrogram_frames)},
                          {"spectrogram_lowest", Spectrogram::kLowestDb},
                          {"trace_step", Seconds(kFrameSamples * fineness.trace_frames)},
                          {"trace_steps_per_db", Traces::kStepsPerDb},
                          {"detector", arguments.options.detector},
                          {"probability", listen.setup.rules.open_probability},
                          {"trace_steps_of_one", Traces::kStepsOfOne},
                          {"level_lowest", Traces::kLowestLevelDb}});
  heard.WriteTo(page);
  cleaned.WriteTo(page);
  page.Commit();
  reader.Conclude();
}

}  // namespace vask::command
