#include "jobs/env/examination.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <deque>
#include <new>
#include <utility>
#include <vask/stream.hpp>

#include "listen/listen_options.h"
#include "listen/segments.h"
#include "sound/audio_reader.h"
#include "terminal/progress.h"

namespace vask::command {
namespace {

constexpr double kGoodDb = 15, kFairDb = 10;  // of speech above the background
constexpr double kMuchClipped = 0.01, kLittleClipped = 0.001;
constexpr int64_t kRoom = kRateHz;                     // samples of background about an utterance
constexpr int64_t kLongest = kMostJudged - 2 * kRoom;  // of an utterance, so that it fits with both
constexpr int64_t kLate = 2 * kRateHz;                 // no start is dated back by more
constexpr int64_t kKept = 60 * kRateHz;                // of the recording, two utterances and more

double Seconds(int64_t samples) { return static_cast<double>(samples) / kRateHz; }

Quality QualityOf(const std::optional<Loudness>& loudness, double clipped) {
  if (!loudness) return Quality::kNoSpeech;
  if (loudness->snr_db < kFairDb || clipped > kMuchClipped) return Quality::kPoor;
  return loudness->snr_db < kGoodDb || clipped > kLittleClipped ? Quality::kFair : Quality::kGood;
}

vask_stream_setup SetupFor(const EngineOptions& options) {
  StreamSetup setup;
  if (vask_model_digest(nullptr) == 0) {  // built without
    setup.detector = VASK_STREAM_ENERGY;
    vask_stream_profile(options.device, options.os, &setup.options.profile);
  }
  setup.options.audio = VASK_STREAM_NO_AUDIO;
  setup.options.max_samples = static_cast<int32_t>(kLongest);
  return setup;
}

// A recording's path through the detector. What is found waits until its surroundings are known.
class Examiner : public SegmentSink {
 public:
  Examiner(EngineSession& engine, Progress& progress) : engine_(engine), progress_(progress) {}

  void Arrived(std::span<int16_t> samples) override {
    meter_.Add(samples);
    recent_.insert(recent_.end(), samples.begin(), samples.end());
    for (const int16_t sample : samples) {
      examination_.sample_min = std::min(examination_.sample_min, sample);
      examination_.sample_max = std::max(examination_.sample_max, sample);
    }
  }
  void Started(const vask_stream_event& /*event*/) override { is_open_ = true; }
  void Audio(std::span<const int16_t> /*samples*/) override {}
  void Ended(const vask_stream_event& event) override {
    meter_.Utterance(event.start, event.end);
    ++examination_.utterances;
    Take(event);
  }
  void Rejected(const vask_stream_event& event) override {
    meter_.OtherSound(event.start, event.end);
    Take(event);
  }
  void Heard(int64_t samples) override {
    heard_ = samples;
    progress_.Update(samples);
    if (!is_open_) meter_.NothingBefore(samples - kLate);
    if (!is_open_) JudgeThoseBefore(samples - kLate);
    if (static_cast<int64_t>(recent_.size()) < 2 * kKept) return;
    recent_.erase(recent_.begin(), recent_.end() - kKept);
    recent_from_ = heard_ - kKept;
  }

  Examination Finish() {
    meter_.NothingBefore(heard_);
    JudgeThoseBefore(heard_ + kRoom);
    Finding& whole = examination_.whole;
    whole.to = Seconds(heard_);
    whole.loudness = meter_.Whole();
    whole.clipped = meter_.ClippedShare();
    whole.quality = QualityOf(whole.loudness, whole.clipped);
    if (!IsLong()) whole.judgement = Judge(engine_, recent_);
    examination_.speech_seconds = meter_.SpeechSeconds();
    return std::move(examination_);
  }

 private:
  struct Sound {
    int64_t start, end;
    bool is_utterance, is_piece;
  };

  bool IsLong() const { return heard_ > kMostJudged; }

  void Take(const vask_stream_event& event) {
    is_open_ = false;
    const bool is_piece = event.continues != 0 || event.reason == VASK_STREAM_BY_SPLIT;
    sounds_.push_back({event.start, event.end, event.kind == VASK_STREAM_ENDED, is_piece});
  }

  // The utterances whose surroundings end before a position: what follows is known up to there.
  void JudgeThoseBefore(int64_t known) {
    if (!IsLong()) return;
    for (; judged_ < sounds_.size(); ++judged_) {
      const bool is_last = judged_ + 1 == sounds_.size();
      const Sound& sound = sounds_[judged_];
      if (is_last && sound.end + kRoom > known) break;
      const int64_t next = is_last ? heard_ : sounds_[judged_ + 1].start;
      const int64_t previous = judged_ == 0 ? 0 : sounds_[judged_ - 1].end;
      if (sound.is_utterance)
        JudgePart(sound, std::max(previous, sound.start - kRoom),
                  std::min({next, heard_, sound.end + kRoom}));
    }
    while (judged_ > 1) {  // the newest one that is judged is the next one's neighbour
      sounds_.pop_front();
      --judged_;
    }
  }

  void JudgePart(const Sound& sound, int64_t from, int64_t to) {
    from = std::max(from, recent_from_);
    Finding part;
    part.from = Seconds(from);
    part.to = Seconds(to);
    part.loudness = meter_.Around(sound.start, sound.end, from, to);
    part.quality = QualityOf(part.loudness, 0);
    if (!sound.is_piece) {
      part.judgement = Judge(engine_, std::span(recent_).subspan(static_cast<size_t>(from - recent_from_),
                                                                 static_cast<size_t>(to - from)));
    }
    examination_.parts.push_back(part);
  }

  EngineSession& engine_;
  Progress& progress_;
  Examination examination_;
  LoudnessMeter meter_;
  std::vector<int16_t> recent_;  // the newest samples
  int64_t recent_from_ = 0;      // position of the first of them
  int64_t heard_ = 0;
  std::deque<Sound> sounds_;  // the newest ones, of which these have been judged:
  size_t judged_ = 0;
  bool is_open_ = false;
};

}  // namespace

const char* NameOf(Quality quality) {
  constexpr const char* kNames[] = {"good", "fair", "poor", "no-speech"};
  return kNames[static_cast<size_t>(quality)];
}

int32_t Examination::Code() const {
  if (whole.judgement) return whole.judgement->code;
  return whole.quality == Quality::kNoSpeech ? -1 : whole.quality == Quality::kPoor ? 2 : 0;
}

std::string Finding::Meaning() const {
  if (!loudness) return "no speech was found";
  char text[120];
  const bool is_faint = loudness->snr_db<kFairDb, is_clipped = clipped> kLittleClipped;
  int length = 0;
  if (is_faint || !is_clipped) {
    length = std::snprintf(text, sizeof text, "the speech is %s%ld dB above the background",
                           loudness->is_at_least ? "at least "
                           : is_faint            ? "only "
                                                 : "",
                           std::lround(loudness->snr_db));
  }
  if (is_clipped) {
    std::snprintf(text + length, sizeof text - static_cast<size_t>(length),
                  "%s%.1f %% of the speech is clipped", length > 0 ? ", and " : "", 100 * clipped);
  }
  return std::string(NameOf(quality)) + ": " + text;
}

Examination Examine(EngineSession& engine, const EngineOptions& options, const SoundInput& input) {
  AudioReader reader(input);
  Progress progress(input.path, reader.ExpectedSamples());
  Stream stream(SetupFor(options));
  if (!stream) throw std::bad_alloc();
  Examiner examiner(engine, progress);
  FindSegments(reader, stream, examiner);
  Examination examination = examiner.Finish();
  examination.shortfall = reader.Shortfall();
  examination.cancellation = reader.Cancellation();
  return examination;
}

}  // namespace vask::command
