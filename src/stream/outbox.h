// What a stream has emitted and its caller has not taken yet: audio (int16 samples in one run) and events,
// each tied to its place in the audio. The only storage of a stream that grows, up to a bound.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <span>

namespace vask {

// A place in the audio is the number of samples before it since the outbox was cleared, not counting those
// that were taken back.
class Outbox {
 public:
  // Allocate the first storage. `margin`: so many samples before those that wait, and after a split, keep
  // what they were. False if there is no memory.
  bool Open(int64_t bound, bool has_events, int32_t margin);
  void Close();
  void Clear();  // keeps the storage

  enum class Room { kThere, kFull, kNoMemory };
  // Make room for this many samples and for the events that come with them, before Push() and Add().
  Room Reserve(int64_t samples);

  void Push(std::span<const int16_t> samples);
  int64_t pushed() const { return pushed_; }

  // Take back [from, to), except what the caller already has; returns where the removed part began.
  int64_t TakeBack(int64_t from, int64_t to);

  // `audio`: the place of the segment's first sample at a start, one past its last one otherwise.
  void Add(const vask_stream_event& event, int64_t audio);

  // The audio of the open segment is certain to belong to it up to here.
  void SetCertain(int64_t audio) { certain_ = audio; }

  // --- the caller's side
  bool Next(vask_stream_event& event);
  int64_t Available() const;
  int32_t Read(std::span<int16_t> out);

  // The audio that the caller may take ends at the limit; what follows it on the same line, at `line_end`.
  int64_t limit() const;
  int64_t line_end() const { return limit() + last_margin_; }
  int64_t last_audio() const { return last_audio_; }  // place of the event that was taken last
  // Copy the samples from a place on; those before `first` and from `end` on are silence.
  void Copy(int64_t from, int64_t first, int64_t end, std::span<int16_t> out) const;
  void TakeUntil(int64_t place);

 private:
  struct Entry {
    vask_stream_event event;
    int64_t audio;
    int64_t margin;  // samples after that place that are kept
  };

  int64_t Waiting() const { return pushed_ - taken_; }
  int16_t* At(int64_t place) const { return audio_ + (place - base_); }
  bool GrowAudio(int64_t samples);
  bool GrowEvents();

  int16_t* audio_;
  int64_t capacity_, bound_;
  int64_t base_;    // place of audio_[0]
  int64_t taken_;   // first sample that is waiting
  int64_t pushed_;  // one past the last
  int64_t certain_;
  int64_t margin_;  // samples
  int64_t frozen_;  // what stands before this place stays
  Entry* entries_;  // a ring
  int32_t entry_capacity_, first_entry_, entry_count_;
  bool has_events_;
  int32_t last_kind_;   // of the event taken last; 0: none
  int64_t last_audio_;  // its place
  int64_t last_margin_;
};

}  // namespace vask
