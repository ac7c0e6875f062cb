#include "detect.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>

#include "audio_reader.h"
#include "errors.h"
#include "progress.h"
#include "wav_writer.h"

namespace vask::command {
namespace {

// How far what the engine says lies behind the frame just fed, in frames.
constexpr int64_t kNoiseDelay = 2;  // the noise reduction hears two frames ahead
constexpr int64_t kMedianDelay = 3;
constexpr int64_t kDeliveryDelay = kNoiseDelay + 3;              // speech is handed on
constexpr int64_t kStartDelay = kNoiseDelay + 9 + kMedianDelay;  // a start is noticed: 9 frames of onset
constexpr int64_t kEndDelay = kNoiseDelay + 100 + kMedianDelay;  // an end: 1 s of hangover, on every device

// Silence behind the file in which an open utterance runs out: hangover and delays, with room to spare.
constexpr int kMaxFlushFrames = 300;
// The same if none is open yet: long enough for the onset of a word that ends with the file.
constexpr int kMinFlushFrames = 40;

void PrintUtterance(const std::string& input, int number, int64_t start, int64_t end) {
  std::printf("%s\t%d\t%.3f\t%.3f\n", Printable(input).c_str(), number, static_cast<double>(start) / kRateHz,
              static_cast<double>(end) / kRateHz);
  if (std::fflush(stdout) != 0) ThrowOutputError();
}

// Drives the engine through one file, frame by frame, and puts what it says on the file's time line.
class Detection {
 public:
  Detection(EngineSession& engine, const std::string& input, UtteranceSink& sink)
      : engine_(engine), sink_(sink), reader_(input), progress_(input, reader_.ExpectedSamples()) {}

  void Run() {
    engine_.WrapUp();
    Frame frame;
    for (size_t n = kFrameSamples; n == kFrameSamples;) {
      n = reader_.Read(frame);
      std::fill(frame.begin() + static_cast<std::ptrdiff_t>(n), frame.end(), int16_t{0});
      length_ += static_cast<int64_t>(n);
      if (n > 0) Feed(frame);
      progress_.Update(length_);
    }
    at_end_ = true;
    frame.fill(0);
    for (int t = 0; t < (open_ ? kMaxFlushFrames : kMinFlushFrames); ++t) Feed(frame);
    if (open_) End(length_);
  }

 private:
  void Feed(const Frame& frame) {
    const EngineSession::Step step = engine_.Feed(frame);
    if (!step.samples.empty()) Collect(step.samples);
    if (step.answer != EngineSession::Answer::kGoOn) {
      if (step.answer == EngineSession::Answer::kEnded) {
        End((frame_ - kEndDelay) * kFrameSamples);
      } else {
        if (open_) sink_.Drop();
        open_ = false;
      }
      // The engine starts afresh, with the frame that it decided on: it may be speech again.
      engine_.WrapUp();
      engine_.Feed(frame);
    }
    ++frame_;
  }

  void Collect(std::span<const int16_t> samples) {
    const auto n = static_cast<int64_t>(samples.size());
    if (!open_) {
      open_ = true;
      start_ = (frame_ - kStartDelay) * kFrameSamples;
      delivered_ = (frame_ - kDeliveryDelay + 1) * kFrameSamples - n;
      sink_.Begin();
    }
    // The silence behind the file is not part of it.
    const int64_t rest = at_end_ ? std::clamp<int64_t>(length_ - delivered_, 0, n) : n;
    sink_.Write(samples.first(static_cast<size_t>(rest)));
    delivered_ += n;
  }

  void End(int64_t end) {
    if (!open_) return;
    open_ = false;
    progress_.Hide();
    sink_.End(std::min(start_, length_), std::min(end, length_));
  }

  EngineSession& engine_;
  UtteranceSink& sink_;
  AudioReader reader_;
  Progress progress_;

  int64_t frame_ = 0;    // number in the file of the frame being fed
  int64_t length_ = 0;   // samples read so far
  bool at_end_ = false;  // length_ is the file's

  bool open_ = false;      // an utterance is being delivered
  int64_t start_ = 0;      // its start, in samples
  int64_t delivered_ = 0;  // place in the file of the next sample that the engine delivers
};

// A line for each, and a file if wanted.
class Listing : public UtteranceSink {
 public:
  Listing(const std::string& input, const UtteranceNames& names) : input_(input), names_(names) {}

  void Begin() override {
    if (names_.wanted()) wav_.emplace(names_.Name(count_ + 1));
  }
  void Write(std::span<const int16_t> samples) override {
    if (wav_) wav_->Write(samples);
  }
  void End(int64_t start, int64_t end) override {
    if (wav_) wav_->Commit();
    wav_.reset();
    PrintUtterance(input_, ++count_, start, end);
  }
  void Drop() override { wav_.reset(); }

 private:
  const std::string& input_;
  const UtteranceNames& names_;
  int count_ = 0;
  std::optional<WavWriter> wav_;
};

}  // namespace

UtteranceNames::UtteranceNames(std::string folder, const std::vector<std::string>& inputs)
    : folder_(std::move(folder)) {
  if (folder_.empty()) return;
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  if (error || !std::filesystem::is_directory(folder_, error)) {
    throw FatalError(Printable(folder_) + ": cannot be made a folder (" +
                     (error ? error.message() : "a file has this name") + "): choose another");
  }
  for (const std::string& input : inputs) {
    struct stat status;
    if (stat(input.c_str(), &status) == 0) inputs_.emplace(status.st_dev, status.st_ino);
  }
}

void UtteranceNames::StartInput(const std::string& input) {
  const std::string stem = std::filesystem::path(input).stem().string();
  base_ = stem;
  for (int k = 2; !taken_bases_.insert(base_).second; ++k) base_ = stem + "_" + std::to_string(k);
}

std::string UtteranceNames::Name(int number) const {
  char digits[16];
  std::snprintf(digits, sizeof digits, "-%03d.wav", number);
  std::string name = (std::filesystem::path(folder_) / (base_ + digits)).string();
  struct stat status;
  if (stat(name.c_str(), &status) == 0 && inputs_.count({status.st_dev, status.st_ino}) != 0) {
    throw FileError(name, "is an input of this run", "choose another folder");
  }
  return name;
}

void FindUtterances(EngineSession& engine, const std::string& input, UtteranceSink& sink) {
  Detection(engine, input, sink).Run();
}

void Detect(EngineSession& engine, const std::string& input, UtteranceNames& names) {
  names.StartInput(input);
  Listing listing(input, names);
  FindUtterances(engine, input, listing);
}

}  // namespace vask::command
