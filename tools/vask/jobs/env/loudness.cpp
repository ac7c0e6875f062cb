#include "jobs/env/loudness.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vask::command {
namespace {

constexpr double kFullPower = 32768.0 * 32768;
constexpr double kRounding = 1.0 / 12;   // power of the rounding to 16 bits: no background is quieter
constexpr double kStepsPerDb = 2;        // of Powers, from that one up
constexpr double kKeep = 0.99;           // of the DC filter: -3 dB at 25 Hz
constexpr double kOfBackground = 0.9;    // its loudest tenth is doors and coughs
constexpr double kOfSurroundings = 0.5;  // the faint ends of other utterances are in them
constexpr double kOfPauses = 0.1;        // of speech without a break
constexpr int64_t kFewFrames = 20;       // 0.2 s
constexpr int64_t kBefore = 10,
                  kAfter = 20;         // frames next to an utterance: its soft edges, and the room's echo
constexpr size_t kKept = 6000;         // frames, a minute
constexpr double kLeastRatio = 0.001;  // -30 dB
constexpr double kClose = 0.98;        // of the highest sample
constexpr int32_t kFewValues = 1000;   // a sample this high is too coarse to tell

double Db(double power) { return 10 * std::log10(power); }

// The first frame that begins at or after a position.
int64_t FrameAt(int64_t position) { return (position + kFrameSamples - 1) / kFrameSamples; }

Loudness Compare(double speech, double background) {
  background = std::max(background, kRounding);
  const double alone = std::max(speech / background - 1, kLeastRatio);
  return {Db(std::max(speech, kRounding) / kFullPower), Db(background / kFullPower), Db(alone)};
}

}  // namespace

void Powers::Add(double power) {
  const double step = kStepsPerDb * Db(std::max(power, kRounding) / kRounding);
  Step& chosen = steps_[std::min(static_cast<size_t>(step), kSteps - 1)];
  ++chosen.count;
  chosen.sum += power;
  ++count_;
}

double Powers::Mean() const { return MeanOfQuietest(1); }

double Powers::MeanOfQuietest(double share) const {
  double sum = 0, wanted = std::ceil(share * static_cast<double>(count_));
  if (wanted == 0) return 0;
  const double all = wanted;
  for (const Step& step : steps_) {
    if (step.count == 0) continue;
    const double taken = std::min(wanted, static_cast<double>(step.count));
    sum += step.sum / static_cast<double>(step.count) * taken;
    wanted -= taken;
  }
  return sum / all;
}

void LoudnessMeter::Add(std::span<const int16_t> samples) {
  for (const int16_t sample : samples) {
    const int32_t size = std::abs(int32_t{sample});
    ++counts_[static_cast<size_t>(sample > 0 ? size : kMostSize + size)];
    dc_out_ = sample - dc_in_ + kKeep * dc_out_;
    dc_in_ = sample;
    power_ += dc_out_ * dc_out_;
    if (++filled_ < kFrameSamples) continue;
    frames_.push_back(static_cast<float>(power_ / kFrameSamples));
    power_ = filled_ = 0;
  }
}

void LoudnessMeter::AddBetween(int64_t start, int64_t end, Powers* powers) {
  const int64_t there = first_frame_ + static_cast<int64_t>(frames_.size());
  for (int64_t t = std::max(start, decided_); t < std::min(end, there); ++t) {
    if (powers != nullptr) powers->Add(static_cast<double>(frames_[static_cast<size_t>(t - first_frame_)]));
  }
  decided_ = std::max(decided_, std::min(end, there));
  while (frames_.size() > kKept && first_frame_ < decided_) {
    frames_.pop_front();
    ++first_frame_;
  }
}

void LoudnessMeter::Utterance(int64_t start, int64_t end) {
  AddBetween(decided_, FrameAt(start) - kBefore, &background_);
  AddBetween(decided_, FrameAt(start), nullptr);
  AddBetween(FrameAt(start), FrameAt(end), &speech_);
  AddBetween(decided_, FrameAt(end) + kAfter, nullptr);
}

void LoudnessMeter::OtherSound(int64_t start, int64_t end) {
  AddBetween(decided_, FrameAt(start) - kBefore, &background_);
  AddBetween(decided_, FrameAt(end) + kAfter, nullptr);
}

void LoudnessMeter::NothingBefore(int64_t position) {
  AddBetween(decided_, position / kFrameSamples, &background_);
}

std::optional<Loudness> LoudnessMeter::Whole() const {
  if (speech_.count() == 0) return std::nullopt;
  if (background_.count() >= kFewFrames)
    return Compare(speech_.Mean(), background_.MeanOfQuietest(kOfBackground));
  Loudness loudness = Compare(speech_.Mean(), speech_.MeanOfQuietest(kOfPauses));
  loudness.is_at_least = true;
  return loudness;
}

void LoudnessMeter::CopyTo(Powers& powers, int64_t start, int64_t end) const {
  const int64_t there = first_frame_ + static_cast<int64_t>(frames_.size());
  for (int64_t t = std::max(start, first_frame_); t < std::min(end, there); ++t)
    powers.Add(static_cast<double>(frames_[static_cast<size_t>(t - first_frame_)]));
}

std::optional<Loudness> LoudnessMeter::Around(int64_t start, int64_t end, int64_t from, int64_t to) const {
  Powers speech, around;
  CopyTo(speech, FrameAt(start), FrameAt(end));
  CopyTo(around, FrameAt(from), FrameAt(start) - kBefore);
  CopyTo(around, FrameAt(end) + kAfter, to / kFrameSamples);
  const bool is_enough = around.count() >= kFewFrames;
  if (speech.count() == 0 || (!is_enough && background_.count() < kFewFrames)) return std::nullopt;
  return Compare(speech.Mean(), is_enough ? around.MeanOfQuietest(kOfSurroundings)
                                          : background_.MeanOfQuietest(kOfBackground));
}

double LoudnessMeter::SpeechSeconds() const {
  return static_cast<double>(speech_.count()) * kFrameSamples / kRateHz;
}

double LoudnessMeter::ClippedShare() const {
  if (speech_.count() == 0) return 0;
  int64_t close = 0;
  for (const int64_t* values : {&counts_[0], &counts_[kMostSize]}) {
    int32_t highest = kMostSize - 1;
    while (highest > 0 && values[highest] == 0) --highest;
    if (highest < kFewValues) continue;
    for (int32_t size = highest; size > kClose * highest; --size) close += values[size];
  }
  return std::min(1.0, static_cast<double>(close) / static_cast<double>(speech_.count() * kFrameSamples));
}

}  // namespace vask::command
