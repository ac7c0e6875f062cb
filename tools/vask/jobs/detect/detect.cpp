#include "jobs/detect/detect.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vask/stream.hpp>

#include "files/hash.h"
#include "files/output_file.h"
#include "jobs/detect/clip_names.h"
#include "jobs/detect/meter.h"
#include "jobs/detect/ordered_listing.h"
#include "jobs/detect/summary.h"
#include "jobs/detect/utterance_files.h"
#include "listen/input_gain.h"
#include "listen/levels.h"
#include "listen/segments.h"
#include "listen/settings_text.h"
#include "listen/span_copy.h"
#include "listing/forms.h"
#include "terminal/errors.h"
#include "terminal/printable.h"
#include "terminal/progress.h"
#include "terminal/signals.h"
#include "terminal/terminal_line.h"

namespace vask::command {
namespace {

constexpr const char* kReads = "a clip of more than the detector delivers";

// What all threads of a run share.
struct Run {
  const DetectArguments& arguments;
  const std::vector<SoundInput>& inputs;  // those of the arguments, or each of their channels
  const ListenSetup& listen;
  bool copies;  // the clips, from a second reading of each recording, instead of from the stream
  OrderedListing& ordered;
  UtteranceFiles* files;  // null without -o
  ListingEdges edges;
  bool listing_per_input;  // in files next to the utterances, not on standard output
  Summary summary;
  std::string settings;      // a hash of those that change what is found
  std::atomic<double> done;  // inputs, with fractions for those in progress
};

// Where the segments of one input go: a file of its own, or the shared listing.
class Output {
 public:
  Output(Run& run, size_t input, InputFiles* files) : run_(run), input_(input), files_(files) {}

  void Open(const Recording& recording) {
    if (!run_.listing_per_input) return run_.ordered.Open(input_, recording);
    listing_ = MakeListing(run_.arguments.format, run_.edges);
    file_.emplace(files_->ListingToWrite(listing_->EndingOfOne()));
    Append(listing_->Begin());
    Append(listing_->Open(recording));
  }
  void Add(const Recording& recording, const Segment& segment) {
    if (segment.rejected && !run_.arguments.verbose) return;
    if (!listing_) return run_.ordered.Add(input_, segment);
    Append(listing_->Add(recording, segment));
  }
  void Note(const std::string& text) { run_.ordered.Note(input_, text); }
  void Close(const Recording& recording, const SegmentNotes& notes, Summary::Source source,
             const std::optional<FileError>& shortfall = {}) {
    run_.summary.Add(recording, source);
    if (listing_) {
      Append(listing_->Close(recording));
      Append(listing_->End());
      file_->Commit();
      files_->KeepListing(listing_->EndingOfOne());
    }
    if (files_ != nullptr) files_->Finish(recording, notes, !shortfall);
    run_.ordered.Close(input_, recording, shortfall);
  }

 private:
  void Append(const std::string& text) {
    file_->Append(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
  }

  Run& run_;
  size_t input_;
  InputFiles* files_;  // null without -o
  std::unique_ptr<Listing> listing_;
  std::optional<OutputFile> file_;
};

// One input's path through a stream.
class Detection : public SegmentSink {
 public:
  Detection(Run& run, Stream& stream, const SoundInput& input, InputFiles* files, Output& output)
      : run_(run),
        stream_(stream),
        files_(files),
        output_(output),
        reader_(input),
        gain_(run.arguments.options.gain, input),
        levels_(reader_.rate()),
        joiner_(run.listen.joining, reader_.rate()) {
    if (run.copies)
      CheckCanBeReadAgain(input, run.arguments.audio == "original" ? "--audio original" : kReads);
    input_ = &input;
    recording_.file = input.path;
    recording_.rate = reader_.rate();
    recording_.channels = reader_.channels();
    recording_.channel = input.channel;
    recording_.settings = run.settings;
    reader_.Show([this](auto samples, int32_t channels) { levels_.Passed(samples, channels); });
    show_progress_ = run.inputs.size() > 1 || IsLong(reader_.ExpectedSamples());
  }
  ~Detection() override { run_.done += 1 - share_; }

  // Returns whether the recording was complete.
  bool Find() {
    output_.Open(recording_);
    FindSegments(reader_, stream_, *this);
    recording_.seconds = static_cast<double>(reader_.frames_read()) / reader_.rate();
    for (const Segment& segment : joiner_.End(recording_.seconds)) List(segment);
    CopySpans();
    const std::optional<FileError> shortfall = reader_.Shortfall();
    if (recording_.utterances == 0) {
      output_.Note(Printable(NameOf(recording_.file, recording_.channel)) + ": " +
                   NothingFound(gain_, MayNeedGain()));
    }
    if (const std::optional<std::string> note = reader_.Cancellation()) output_.Note(*note);
    output_.Close(recording_, notes_, Summary::Source::kHeard, shortfall);
    return !shortfall;
  }

  void Arrived(std::span<int16_t> samples) override {
    levels_.Heard(samples);
    gain_.Apply(samples);
  }
  void Started(const vask_stream_event& event) override {
    levels_.Start(event.start);
    is_open_ = true;
    if (files_ != nullptr && !run_.copies) writer_ = files_->MakeUtterance(recording_.utterances + 1);
  }
  void Audio(std::span<const int16_t> samples) override {
    if (writer_) writer_->Write(samples);
  }
  void Ended(const vask_stream_event& event) override {
    if (writer_) files_->KeepUtterance(*writer_, recording_.utterances + 1);
    Keep(event);
  }
  void Rejected(const vask_stream_event& event) override { Keep(event); }

  void Heard(int64_t samples) override {
    run_.ordered.ThrowIfStopped();
    if (!is_open_) {
      for (const Segment& segment : joiner_.Settle(static_cast<double>(samples) / kRateHz)) List(segment);
    }
    if (const int64_t expected = reader_.ExpectedSamples(); expected > 0) {
      const double share = std::min(1.0, static_cast<double>(samples) / static_cast<double>(expected));
      run_.done += share - share_;
      share_ = share;
    }
    if (run_.arguments.meter) {
      run_.ordered.Show([&] { return MeterLine(stream_.Measures(), TerminalLine::Columns()); });
    } else if (show_progress_) {
      run_.ordered.Show([&] { return ProgressLine(); });
    }
  }

 private:
  bool MayNeedGain() const { return !run_.listen.is_learned() && run_.arguments.options.gain.empty(); }
  void Keep(const vask_stream_event& event) {
    writer_.reset();
    is_open_ = false;
    Segment segment = SegmentOf(event, ClockOf(reader_));
    const SegmentLevels levels = levels_.End(event.end, event.heard);
    segment.level_db = levels.level_db;
    segment.snr_db = levels.snr_db;
    segment.clipped = levels.clipped;
    for (const Segment& settled : joiner_.Take(segment)) List(settled);
  }

  void List(Segment segment) {
    if (!segment.rejected) {
      segment.number = ++recording_.utterances;
      recording_.speech += segment.end - segment.start;
    }
    output_.Add(recording_, segment);
    if (files_ != nullptr) notes_.Add(segment);
    if (run_.copies && !segment.rejected) spans_.emplace_back(segment.first, segment.last);
  }

  void CopySpans() {
    if (spans_.empty()) return;
    const std::unique_ptr<SpanCopy> copy =
        run_.arguments.audio == "original"
            ? CopyOriginal(*input_)
            : CopyHeard(*input_, run_.arguments.options.gain, run_.listen.setup);
    for (size_t k = 0; k < spans_.size(); ++k) {
      run_.ordered.ThrowIfStopped();
      const int number = static_cast<int>(k) + 1;
      const std::unique_ptr<SoundWriter> writer = files_->MakeUtterance(number, copy->form());
      copy->Copy(spans_[k].first, spans_[k].second, *writer);
      files_->KeepUtterance(*writer, number);
    }
  }

  std::string ProgressLine() const {
    const auto total = static_cast<double>(run_.inputs.size());
    const std::string label = total == 1
                                  ? Printable(recording_.file)
                                  : Decimal(std::floor(run_.done), 0) + " of " + Decimal(total, 0) + " files";
    return ProgressText(run_.done / total, label);
  }

  Run& run_;
  Stream& stream_;
  InputFiles* files_;  // null without -o
  Output& output_;
  AudioReader reader_;
  InputGain gain_;
  LevelTrack levels_;
  Joiner joiner_;
  const SoundInput* input_ = nullptr;
  std::vector<std::pair<int64_t, int64_t>> spans_;  // of the utterances, to be copied
  bool is_open_ = false;                            // a segment of the stream
  Recording recording_;
  SegmentNotes notes_;  // with -o
  std::unique_ptr<SoundWriter> writer_;
  double share_ = 0;  // of the input that is done
  bool show_progress_ = false;
};

// Returns whether an earlier run finished the input; if so, lists it.
bool ListFinished(Run& run, const SoundInput& input, InputFiles& files, Output& output) {
  std::optional<Finished> finished = files.TakeFinished();
  if (!finished) return false;
  finished->recording.file = input.path;
  finished->recording.channel = input.channel;
  finished->recording.settings = run.settings;
  SegmentNotes notes;
  output.Open(finished->recording);
  for (const Segment& segment : finished->segments) {
    output.Add(finished->recording, segment);
    notes.Add(segment);
  }
  output.Close(finished->recording, notes, Summary::Source::kJournal);
  run.done += 1;
  return true;
}

// Returns whether the input was complete. One that was not is not recorded as finished: --resume processes
// and reports it again.
bool DetectInput(Run& run, Stream& stream, size_t number) {
  const SoundInput& input = run.inputs[number];
  if (input.channel == kAllChannels) {
    EachChannel(input.path, input.options);  // throws again
    throw FileError(input.path, "could not be opened at first", "try again");
  }
  std::optional<InputFiles> files;
  if (run.files != nullptr) files.emplace(*run.files, input);
  InputFiles* const files_or_null = files ? &*files : nullptr;
  Output output(run, number, files_or_null);
  if (files && ListFinished(run, input, *files, output)) return true;
  if (files) files->Check();
  return Detection(run, stream, input, files_or_null, output).Find();
}

// The threads take the inputs one after another.
class Workers {
 public:
  explicit Workers(Run& run) : run_(run) {}

  int Work(size_t count) {
    std::vector<std::thread> threads;
    threads.reserve(count);
    try {
      for (size_t k = 1; k < count; ++k) threads.emplace_back([this] { Loop(); });
    } catch (const std::exception&) {
      // The system starts no more threads: those that run, and this one, do all the work.
    }
    Loop();
    for (std::thread& thread : threads) thread.join();
    if (failure_) std::rethrow_exception(failure_);
    return failed_ ? kExitFailed : EXIT_SUCCESS;
  }

 private:
  void Loop() {
    try {
      vask_stream_setup setup = run_.listen.setup;
      if (run_.copies) setup.options.audio = VASK_STREAM_NO_AUDIO;
      Stream stream(setup);
      if (!stream) throw std::bad_alloc();
      for (size_t number; (number = next_++) < run_.inputs.size();) {
        run_.ordered.ThrowIfStopped();
        CheckSignals();
        try {
          if (!DetectInput(run_, stream, number)) AddFailed();
        } catch (const FileError& error) {
          AddFailed();
          run_.ordered.Fail(number, run_.inputs[number].path, error);
        }
      }
    } catch (const OrderedListing::Stopped&) {
      // another thread has reported why
    } catch (...) {
      {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::current_exception();
      }
      run_.ordered.Stop();
    }
  }

  void AddFailed() {
    failed_ = true;
    run_.summary.AddFailed();
  }

  Run& run_;
  std::atomic<size_t> next_ = 0;
  std::atomic<bool> failed_ = false;
  std::mutex mutex_;  // guards failure_
  std::exception_ptr failure_;
};

// A recording that cannot be opened stays one input: its turn reports why.
std::vector<SoundInput> InputsOf(const DetectArguments& arguments) {
  std::vector<SoundInput> inputs;
  for (const std::string& path : arguments.inputs) {
    if (arguments.reading.Channel() != kAllChannels) {
      inputs.emplace_back(path, arguments.reading);
      continue;
    }
    try {
      for (SoundInput& channel : EachChannel(path, arguments.reading)) inputs.push_back(std::move(channel));
    } catch (const FileError&) {
      inputs.emplace_back(path, arguments.reading);
    }
  }
  return inputs;
}

}  // namespace

int DetectAll(const DetectArguments& arguments, const ListenSetup& listen) {
  const std::vector<SoundInput> sounds = InputsOf(arguments);
  const std::string settings = SettingsText(arguments.options, arguments.reading, listen);
  std::optional<UtteranceFiles> files;
  if (!arguments.output.empty()) {
    Inputs inputs(arguments.inputs);
    if (!arguments.files_from.empty()) inputs.Add(arguments.files_from);
    for (const std::string& file : FilesOf(arguments.options)) inputs.Add(file);
    const std::string kind = " " + arguments.audio + (arguments.flac ? " flac" : " wav");
    files.emplace(arguments, sounds, settings + kind, std::move(inputs));
  }
  const ListingEdges edges = {listen.shows_span_start(), listen.shows_span_end()};
  const std::unique_ptr<Listing> listing = MakeListing(arguments.format, edges);
  const bool listing_per_input = files && !listing->EndingOfOne().empty();
  if (!files && !listing->EndingOfOne().empty() && sounds.size() > 1) {
    throw UsageError("--format " + arguments.format +
                     " holds one recording: with -o DIR each channel gets its own");
  }
  OrderedListing ordered(listing_per_input ? nullptr : listing.get());
  const bool copies = files && (arguments.audio == "original" || listen.joining.any());
  Run run = {arguments, sounds,
             listen,    copies,
             ordered,   files ? &*files : nullptr,
             edges,     listing_per_input,
             {},        HashText(settings),
             0};

  size_t jobs = static_cast<size_t>(arguments.jobs);
  if (jobs == 0) jobs = std::max(1U, std::thread::hardware_concurrency());
  if (arguments.meter) jobs = 1;  // the meter shows one level
  ordered.Begin();
  const int status = Workers(run).Work(std::min(jobs, sounds.size()));
  ordered.End();
  if (arguments.summary) std::fprintf(stderr, "vask: %s\n", run.summary.Line().c_str());
  return status;
}

}  // namespace vask::command
