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
  // Allocate the first storage. False if there is no memory.
  bool Open(int64_t bound, bool has_events);
  void Close();
  void Clear();  // keeps the storage

  enum class Room { kThere, kFull, kNoMemory };
  // Make room for this many samples and for the events that come with them, before Push() and Add().
  Room Reserve(int64_t samples);

  void Push(std::span<const int16_t> samples);
  void PushSilence(int64_t samples);
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

 private:
  struct Entry {
    vask_stream_event event;
    int64_t audio;
  };

  int64_t Limit() const;  // the audio that the caller may take ends here
  int64_t Waiting() const { return pushed_ - taken_; }
  int16_t* At(int64_t place) { return audio_ + (place - base_); }
  bool GrowAudio(int64_t samples);
  bool GrowEvents();

  int16_t* audio_;
  int64_t capacity_, bound_;
  int64_t base_;    // place of audio_[0]
  int64_t taken_;   // first sample that is waiting
  int64_t pushed_;  // one past the last
  int64_t certain_;
  Entry* entries_;  // a ring
  int32_t entry_capacity_, first_entry_, entry_count_;
  bool has_events_;
  int32_t last_kind_;   // of the event taken last; 0: none
  int64_t last_audio_;  // its place
};

}  // namespace vask
