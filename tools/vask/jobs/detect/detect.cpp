#include "jobs/detect/detect.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>
#include <vask/stream.hpp>

#include "files/output_file.h"
#include "jobs/detect/journal.h"
#include "jobs/detect/meter.h"
#include "jobs/detect/ordered_listing.h"
#include "jobs/detect/utterance_files.h"
#include "listen/segments.h"
#include "listing/forms.h"
#include "terminal/errors.h"
#include "terminal/progress.h"
#include "terminal/signals.h"

namespace vask::command {
namespace {

// What all threads of a run work with.
struct Run {
  const DetectArguments& arguments;
  vask_stream_options options;
  OrderedListing& ordered;
  UtteranceFiles* files;  // null without -o
  Journal* journal;       // the same
  ListingEdges edges;
  bool listing_per_input;    // in files beside the utterances, not on standard output
  std::atomic<double> done;  // inputs, those in work in part
};

// Where the segments of one input go: a file of its own, or the common listing.
class Output {
 public:
  Output(Run& run, size_t input, const std::string& base) : run_(run), input_(input) {
    if (!run.listing_per_input) return;
    listing_ = MakeListing(run.arguments.format, run.edges);
    file_.emplace(run.files->ListingOf(base, listing_->EndingOfOne()));
  }

  void Open(const Recording& recording) {
    if (!listing_) return run_.ordered.Open(input_, recording);
    Append(listing_->Begin());
    Append(listing_->Open(recording));
  }
  void Add(const Recording& recording, const Segment& segment) {
    if (segment.rejected && !run_.arguments.verbose) return;
    if (!listing_) return run_.ordered.Add(input_, segment);
    Append(listing_->Add(recording, segment));
  }
  void Close(const Recording& recording, const std::optional<FileError>& shortfall = {}) {
    if (listing_) {
      Append(listing_->Close(recording));
      Append(listing_->End());
      file_->Commit();
    }
    run_.ordered.Close(input_, recording, shortfall);
  }

 private:
  void Append(const std::string& text) {
    file_->Append(std::span(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
  }

  Run& run_;
  size_t input_;
  std::unique_ptr<Listing> listing_;
  std::optional<OutputFile> file_;
};

// One input's way through a stream.
class Detection : public SegmentSink {
 public:
  Detection(Run& run, Stream& stream, const std::string& input, const std::string& base, Output& output)
      : run_(run), stream_(stream), base_(base), output_(output), reader_(input) {
    recording_ = {input, reader_.rate(), reader_.channels(), 0};
    const size_t inputs = run.arguments.inputs.size();
    show_progress_ = inputs > 1 || IsLong(reader_.ExpectedSamples());
  }
  ~Detection() override { run_.done += 1 - share_; }

  // Whether the recording was whole.
  bool Find() {
    output_.Open(recording_);
    FindSegments(reader_, stream_, *this);
    recording_.seconds = static_cast<double>(reader_.frames_read()) / reader_.rate();
    const std::optional<FileError> shortfall = reader_.Shortfall();
    output_.Close(recording_, shortfall);
    return !shortfall;
  }

  const Recording& recording() const { return recording_; }
  const SegmentNotes& notes() const { return notes_; }

  void Started() override {
    if (run_.files != nullptr) writer_ = run_.files->Make(base_, utterances_ + 1);
  }
  void Audio(std::span<const int16_t> samples) override {
    if (writer_) writer_->Write(samples);
  }
  void Ended(const vask_stream_event& event) override {
    if (writer_) writer_->Commit();
    ++utterances_;
    Keep(event);
  }
  void Rejected(const vask_stream_event& event) override { Keep(event); }

  void Heard(int64_t samples) override {
    run_.ordered.ThrowIfStopped();
    if (const int64_t expected = reader_.ExpectedSamples(); expected > 0) {
      const double share = std::min(1.0, static_cast<double>(samples) / static_cast<double>(expected));
      run_.done += share - share_;
      share_ = share;
    }
    if (run_.arguments.meter) {
      run_.ordered.Show([&] { return MeterLine(stream_.Measures()); });
    } else if (show_progress_) {
      run_.ordered.Show([&] { return ProgressLine(); });
    }
  }

 private:
  void Keep(const vask_stream_event& event) {
    writer_.reset();
    Segment segment = SegmentOf(event, reader_);
    segment.number = segment.rejected ? 0 : utterances_;
    output_.Add(recording_, segment);
    if (run_.journal != nullptr) notes_.Add(segment);
  }

  std::string ProgressLine() const {
    const auto total = static_cast<double>(run_.arguments.inputs.size());
    const std::string bar = Bar(run_.done / total) + "  ";
    if (total == 1) return bar + Printable(recording_.file);
    return bar + Decimal(std::floor(run_.done), 0) + " of " + Decimal(total, 0) + " files";
  }

  Run& run_;
  Stream& stream_;
  const std::string& base_;
  Output& output_;
  AudioReader reader_;
  Recording recording_;
  SegmentNotes notes_;  // with -o
  int utterances_ = 0;
  std::unique_ptr<SoundWriter> writer_;
  double share_ = 0;  // of the input, that is done
  bool show_progress_ = false;
};

// Whether an earlier run has finished the input, and all that it wrote is still there; then it is listed.
bool ListFinished(Run& run, const InputState& state, Output& output) {
  const std::optional<Finished> finished = run.journal->Find(state);
  if (!finished) return false;
  for (const Segment& segment : finished->segments) {
    if (!segment.rejected && !std::filesystem::exists(run.files->NameOf(state.base, segment.number))) {
      return false;
    }
  }
  output.Open(finished->recording);
  for (const Segment& segment : finished->segments) output.Add(finished->recording, segment);
  output.Close(finished->recording);
  run.done += 1;
  return true;
}

// Whether the input was whole. One that was not is not noted: --resume does it again, and says so again.
bool DetectInput(Run& run, Stream& stream, size_t number, const std::string& base) {
  const std::string& input = run.arguments.inputs[number];
  Output output(run, number, base);
  std::optional<InputState> state;
  if (run.journal != nullptr) state = StateOf(input, base);
  if (state && ListFinished(run, *state, output)) return true;
  Detection detection(run, stream, input, base, output);
  if (!detection.Find()) return false;
  if (state) run.journal->Add(*state, detection.recording(), detection.notes());
  return true;
}

// The threads take the inputs one after another.
class Workers {
 public:
  explicit Workers(Run& run) : run_(run) {}

  int Work(size_t count) {
    std::vector<std::thread> threads;
    for (size_t k = 1; k < count; ++k) threads.emplace_back([this] { Loop(); });
    Loop();
    for (std::thread& thread : threads) thread.join();
    if (failure_) std::rethrow_exception(failure_);
    return failed_ ? kExitFailed : EXIT_SUCCESS;
  }

 private:
  void Loop() {
    try {
      Stream stream(run_.options);
      if (!stream) throw std::bad_alloc();
      size_t number = 0;
      for (std::string base; Next(number, base);) {
        run_.ordered.ThrowIfStopped();
        CheckSignals();
        try {
          if (!DetectInput(run_, stream, number, base)) failed_ = true;
        } catch (const FileError& error) {
          failed_ = true;
          run_.ordered.Fail(number, run_.arguments.inputs[number], error);
        }
      }
    } catch (const OrderedListing::Stopped&) {
      // another thread has told why
    } catch (...) {
      {
        const std::lock_guard lock(mutex_);
        if (!failure_) failure_ = std::current_exception();
      }
      run_.ordered.Stop();
    }
  }

  bool Next(size_t& number, std::string& base) {
    const std::lock_guard lock(mutex_);
    if (next_ == run_.arguments.inputs.size()) return false;
    number = next_++;
    if (run_.files != nullptr) base = run_.files->NextBase(run_.arguments.inputs[number]);
    return true;
  }

  Run& run_;
  std::mutex mutex_;
  size_t next_ = 0;
  std::atomic<bool> failed_ = false;
  std::exception_ptr failure_;
};

// All that changes what is found or written, as text.
std::string Fingerprint(const DetectArguments& arguments, const vask_stream_options& options) {
  std::string text = VASK_VERSION;
  text += arguments.flac ? " flac" : " wav";
  static_assert(std::has_unique_object_representations_v<vask_stream_options>);
  for (const int32_t value :
       std::bit_cast<std::array<int32_t, sizeof(vask_stream_options) / sizeof(int32_t)>>(options)) {
    text += ' ';
    text += std::to_string(value);
  }
  return text;
}

}  // namespace

int DetectAll(const DetectArguments& arguments, const vask_stream_options& options) {
  std::optional<UtteranceFiles> files;
  std::optional<Journal> journal;
  if (!arguments.output.empty()) {
    Inputs inputs(arguments.inputs);
    if (!arguments.files_from.empty()) inputs.Add(arguments.files_from);
    if (NamesProfileFile(arguments.options.profile)) inputs.Add(arguments.options.profile);
    files.emplace(arguments.output, arguments.flac, std::move(inputs));
    journal.emplace(arguments.output, Fingerprint(arguments, options), arguments.resume);
  }
  const ListingEdges edges = {options.pad_start >= 0, options.pad_end >= 0};
  const std::unique_ptr<Listing> listing = MakeListing(arguments.format, edges);
  const bool listing_per_input = files && !listing->EndingOfOne().empty();
  OrderedListing ordered(listing_per_input ? nullptr : listing.get());
  Run run = {arguments, options,           ordered, files ? &*files : nullptr, journal ? &*journal : nullptr,
             edges,     listing_per_input, 0};

  size_t jobs = static_cast<size_t>(arguments.jobs);
  if (jobs == 0) jobs = std::max(1U, std::thread::hardware_concurrency());
  if (arguments.meter) jobs = 1;  // of one level at a time
  ordered.Begin();
  const int status = Workers(run).Work(std::min(jobs, arguments.inputs.size()));
  ordered.End();
  return status;
}

}  // namespace vask::command
