// The newest frames of a stream: their samples, and what was found in them. Frames of the input are numbered
// from 0 since the stream was opened or reset.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "dsp/memory.h"
#include "dsp/sizes.h"

namespace vask {

struct FrameNote {
  int64_t energy;      // sum of squares of the input
  int32_t log_energy;  // of the window of two frames that begins with it: Q16, scaled as the detector's
  int16_t speech;      // probability of speech: Q15, with the learned detector
  bool is_voiced;      // smoothed; with the learned detector: speech
  bool is_voiced_raw;  // before smoothing
  bool is_tone;        // voiced before smoothing, and a tone
};

class History {
 public:
  // Keep the notes of at least `frames` frames and the samples of at least `sample_frames`. False if there is
  // no memory.
  bool Open(int64_t frames, int64_t sample_frames) {
    note_count_ = PowerOfTwo(frames);
    sample_count_ = PowerOfTwo(sample_frames);
    notes_ = NewZeroed<FrameNote>(note_count_);
    samples_ = NewZeroed<int16_t>(sample_count_ * kFrame);
    return notes_ != nullptr && samples_ != nullptr;
  }
  // Keep more, if that is more. `next`: the frame that enters next. False if there is no memory, and then all
  // is as before.
  bool Grow(int64_t frames, int64_t sample_frames, int64_t next) {
    History larger;
    if (frames <= note_count_ && sample_frames <= sample_count_) return true;
    if (!larger.Open(std::max(frames, note_count_), std::max(sample_frames, sample_count_))) {
      larger.Close();
      return false;
    }
    for (int64_t t = std::max<int64_t>(next - note_count_, 0); t < next; ++t) larger.Note(t) = Note(t);
    for (int64_t t = std::max<int64_t>(next - sample_count_, 0); t < next; ++t) larger.Keep(t, Samples(t));
    Close();
    *this = larger;
    return true;
  }
  void Close() {
    Release(notes_);
    Release(samples_);
  }

  // Frame `t` has arrived: begin its note.
  void Enter(int64_t t, std::span<const int16_t, kFrame> samples) {
    int64_t energy = 0;
    for (const int16_t sample : samples) energy += int32_t{sample} * sample;
    Note(t) = {};
    Note(t).energy = energy;
  }

  // The samples that frame `t` is delivered with.
  void Keep(int64_t t, std::span<const int16_t, kFrame> samples) {
    std::copy(samples.begin(), samples.end(), At(t));
  }

  FrameNote& Note(int64_t t) { return notes_[t & (note_count_ - 1)]; }
  const FrameNote& Note(int64_t t) const { return notes_[t & (note_count_ - 1)]; }
  std::span<const int16_t, kFrame> Samples(int64_t t) const {
    return std::span<const int16_t, kFrame>(At(t), kFrame);
  }

 private:
  static int64_t PowerOfTwo(int64_t least) {
    int64_t count = 1;
    while (count < least) count *= 2;
    return count;
  }
  int16_t* At(int64_t t) const { return samples_ + (t & (sample_count_ - 1)) * kFrame; }

  FrameNote* notes_;
  int64_t note_count_;
  int16_t* samples_;
  int64_t sample_count_;
};

}  // namespace vask
