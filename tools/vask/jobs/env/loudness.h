// How loud speech and background are in a recording, and how much of the speech is clipped: 16 kHz int16
// samples in, levels in dB full scale out (0 dB: a mean square of 32768 * 32768). Memory is constant.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <span>
#include <vector>

#include "format.h"

namespace vask::command {

// Powers of frames of 10 ms, sorted into steps of half a decibel.
class Powers {
 public:
  void Add(double power);
  int64_t count() const { return count_; }
  double Mean() const;  // 0 of none
  // Of the quietest frames, this share of all.
  double MeanOfQuietest(double share) const;

 private:
  static constexpr size_t kSteps = 240;

  struct Step {
    int64_t count = 0;
    double sum = 0;
  };

  std::array<Step, kSteps> steps_;
  int64_t count_ = 0;
};

// What a part of a recording sounds like.
struct Loudness {
  double speech_db = 0, background_db = 0;
  double snr_db = 0;         // speech without the background in it against the background
  bool is_at_least = false;  // no pause was long enough: the background is what the quietest speech hides
};

class LoudnessMeter {
 public:
  LoudnessMeter() : counts_(size_t{2} * kMostSize) {}

  // All samples of the recording, in order. Positions below count them from its start.
  void Add(std::span<const int16_t> samples);

  // What has been found, in order: an utterance, or a sound that is not one and counts as neither.
  void Utterance(int64_t start, int64_t end);
  void OtherSound(int64_t start, int64_t end);
  void NothingBefore(int64_t position);  // and what lies before is background

  // The recording so far; nothing without an utterance.
  std::optional<Loudness> Whole() const;
  // An utterance against its surroundings from `from` to `to`, none of it older than half a minute, or else
  // against the background so far; nothing if there is none of either.
  std::optional<Loudness> Around(int64_t start, int64_t end, int64_t from, int64_t to) const;

  double SpeechSeconds() const;
  // Samples close to the highest or lowest of the recording per samples of speech: a few in thousands, unless
  // peaks are cut off.
  double ClippedShare() const;

 private:
  static constexpr int32_t kMostSize = 32769;  // magnitudes of a sample

  void AddBetween(int64_t start, int64_t end, Powers* powers);  // null: skipped
  void CopyTo(Powers& powers, int64_t start, int64_t end) const;

  std::deque<float> frames_;  // powers of the newest frames, the undecided ones and those before
  int64_t first_frame_ = 0;   // of frames_
  int64_t decided_ = 0;       // frames before this one have been sorted
  Powers speech_, background_;
  double dc_in_ = 0, dc_out_ = 0;  // of the filter that removes the DC offset
  double power_ = 0;               // of the frame that is not complete
  int32_t filled_ = 0;
  std::vector<int64_t> counts_;  // of each value above 0, then of those below
};

}  // namespace vask::command
