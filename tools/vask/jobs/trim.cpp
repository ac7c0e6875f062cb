// `vask trim`: a recording without what is not speech.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <vector>

#include "files/inputs.h"
#include "jobs/jobs.h"
#include "listen/input_gain.h"
#include "listen/joiner.h"
#include "listen/listen_options.h"
#include "listen/segments.h"
#include "listen/span_copy.h"
#include "sound/audio_reader.h"
#include "sound/sound_kind.h"
#include "terminal/arguments.h"
#include "terminal/errors.h"
#include "terminal/progress.h"
#include "terminal/writing.h"

namespace vask::command {
namespace {

constexpr const char* kFooter =
    R"(OUT holds the spans of the utterances, padding included, one after the other, with the rate, the channels and
the samples of IN. --keep leaves up to that much of what lies between two of them, half at each. What went where
is printed, tab-separated, in seconds: START and END in IN, START and END in OUT. IN is read twice, which
standard input cannot be.
Examples:
  vask trim lecture.wav -o short.flac
  vask trim dictation.mp3 -o dense.wav --join 0.5 --keep 0.3 > places.txt)";

struct TrimArguments {
  ListenOptions options;
  ReadOptions reading;
  std::string input, output;
  double keep = 0;  // s
};

struct Span {
  int64_t first, last;  // samples of the recording's own rate: [first, last)
};

// Collects the spans of the utterances of a recording.
class Spans : public SegmentSink {
 public:
  Spans(const TrimArguments& arguments, const SoundInput& input, const ListenSetup& listen)
      : reader_(input),
        gain_(arguments.options.gain, input),
        joiner_(listen.joining, reader_.rate()),
        progress_(arguments.input, reader_.ExpectedSamples()) {}

  std::vector<Span> Find(const vask_stream_setup& setup) {
    Stream stream(setup);
    if (!stream) throw std::bad_alloc();
    FindSegments(reader_, stream, *this);
    Keep(joiner_.End(static_cast<double>(reader_.frames_read()) / reader_.rate()));
    return std::move(spans_);
  }

  void Arrived(std::span<int16_t> samples) override { gain_.Apply(samples); }
  void Started(const vask_stream_event&) override {}
  void Audio(std::span<const int16_t>) override {}
  void Ended(const vask_stream_event& event) override {
    Keep(joiner_.Take(SegmentOf(event, ClockOf(reader_))));
  }
  void Rejected(const vask_stream_event&) override {}
  void Heard(int64_t samples) override { progress_.Update(samples); }

  const AudioReader& reader() const { return reader_; }
  std::string NothingFound() const { return vask::command::NothingFound(gain_, false); }

 private:
  void Keep(const std::vector<Segment>& settled) {
    for (const Segment& segment : settled) spans_.push_back({segment.first, segment.last});
  }

  AudioReader reader_;
  InputGain gain_;
  Joiner joiner_;
  Progress progress_;
  std::vector<Span> spans_;
};

// Lengthens the spans by what is kept of the silence between them, and joins those that then touch.
std::vector<Span> WithSilence(const std::vector<Span>& spans, int64_t keep) {
  std::vector<Span> all;
  for (Span span : spans) {
    if (!all.empty()) {
      Span& before = all.back();
      const int64_t gap = span.first - before.last;
      if (gap <= keep) {
        before.last = span.last;
        continue;
      }
      before.last += keep / 2;
      span.first -= keep - keep / 2;
    }
    all.push_back(span);
  }
  return all;
}

void Trim(const TrimArguments& arguments, const ListenSetup& listen) {
  const SoundInput input(arguments.input, arguments.reading);
  CheckCanBeReadAgain(input, "vask trim");
  Spans found(arguments, input, listen);
  const int32_t rate = found.reader().rate();
  const std::vector<Span> spans = WithSilence(found.Find(listen.setup), std::llround(arguments.keep * rate));
  if (spans.empty()) {
    throw FileError(arguments.input, found.NothingFound(), "nothing is left of it, and nothing is written");
  }
  const std::unique_ptr<SpanCopy> copy = CopyOriginal(input);
  const std::unique_ptr<SoundWriter> writer = MakeSoundWriter(arguments.output, copy->form());
  std::string table;
  int64_t place = 0;
  for (const Span& span : spans) {
    copy->Copy(span.first, span.last, *writer);
    const int64_t next = place + span.last - span.first;
    std::string line;
    for (const int64_t at : {span.first, span.last, place, next})
      line += (line.empty() ? "" : "\t") + Decimal(static_cast<double>(at) / rate, 3);
    table += line + "\n";
    place = next;
  }
  writer->Commit();
  WriteOutput(table);
  found.reader().Conclude();
}

}  // namespace

Job TrimJob(CLI::App& app, const EngineOptions& engine) {
  const auto arguments = std::make_shared<TrimArguments>();
  CLI::App* trim = app.add_subcommand("trim", "Leave out of a recording what is not speech");
  trim->footer(kFooter);
  AddInput(*trim, arguments->input);
  AddOutput(*trim, arguments->output, "File to write, of the kind that its name says", SoundEndings());
  trim->add_option("--keep", arguments->keep, "Keep up to this much of the silence between utterances (0)")
      ->type_name("S")
      ->check(CLI::Range(0.0, 3600.0));
  AddReadOptions(*trim, arguments->reading);
  AddListenOptions(*trim, arguments->options);
  AddJoinOption(*trim, arguments->options);
  return {trim, [arguments, &engine] {
            if (arguments->output == "-") throw UsageError("trim prints a table there: give OUT a name");
            CheckConfig(engine);
            const ListenSetup listen(arguments->options, engine.device, engine.os);
            Inputs inputs({arguments->input, engine.ConfigFile()});
            for (const std::string& file : FilesOf(arguments->options)) inputs.Add(file);
            inputs.CheckIsNone(arguments->output);
            Trim(*arguments, listen);
            return EXIT_SUCCESS;
          }};
}

}  // namespace vask::command
