// The newest frames of a stream's input: their samples as they were written, and what was found in them.
// Frames are numbered from 0 since the stream was opened or reset.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "dsp/memory.h"
#include "engine/record.h"

namespace vask {

struct FrameNote {
  int64_t energy;      // sum of squares of the input
  int32_t log_energy;  // of the noise-reduced window that begins with it: units, Q16
  bool is_voiced;      // smoothed
  bool is_voiced_raw;  // before smoothing
  bool is_tone;        // voiced before smoothing, and a tone
};

class History {
 public:
  // Keep the notes of at least `frames` frames. False if there is no memory.
  bool Open(int32_t frames) {
    note_count_ = 1;
    while (note_count_ < frames) note_count_ *= 2;
    notes_ = NewZeroed<FrameNote>(note_count_);
    return notes_ != nullptr;
  }
  void Close() { Release(notes_); }

  // Frame `t` has arrived: keep its samples and begin its note.
  void Enter(int64_t t, std::span<const int16_t> samples) {
    int64_t energy = 0;
    for (const int16_t sample : samples) energy += int32_t{sample} * sample;
    Note(t) = {
        .energy = energy, .log_energy = 0, .is_voiced = false, .is_voiced_raw = false, .is_tone = false};
    std::copy(samples.begin(), samples.end(), samples_[static_cast<size_t>(t % kSampleFrames)].begin());
  }

  FrameNote& Note(int64_t t) { return notes_[t & (note_count_ - 1)]; }
  const FrameNote& Note(int64_t t) const { return notes_[t & (note_count_ - 1)]; }
  std::span<const int16_t> Samples(int64_t t) const {
    return samples_[static_cast<size_t>(t % kSampleFrames)];
  }

 private:
  static constexpr int64_t kSampleFrames = 64;  // the margin before a start is emitted 49 frames late

  FrameNote* notes_;
  int64_t note_count_;
  std::array<std::array<int16_t, kFrame>, kSampleFrames> samples_;
};

}  // namespace vask
