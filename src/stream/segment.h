// The open segment of a stream: from the rise that started it, through the frames that the engine delivers,
// to its verdict. Frames are numbered as in the history, positions are samples of the input.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <span>

#include "stream/history.h"
#include "stream/outbox.h"

namespace vask {

// What becomes of a segment once its start and end are known. Lengths in samples.
struct SegmentRules {
  bool has_audio;
  int64_t margin_start;  // delivered before the start: at most this; below 0: from the first frame on
  int64_t margin_end;    // and after the end
  int64_t longest;       // longer ones are split; 0: no limit
  int64_t shortest;      // what is shorter is rejected
  int32_t least_voiced;  // and what has fewer voiced frames
  int32_t most_tones;    // and what has more tones than this: percent of the frames voiced before smoothing
  int16_t least_speech;  // and what has a lower mean probability of speech: Q15
  bool counts_margins;   // voiced frames in the margins count, as they do in the front end
};

// Where the frames to decide on come from, and where the decisions go. Positions are samples of the input.
struct SegmentContext {
  const SegmentRules& rules;
  const History& history;
  Outbox& outbox;
  int64_t heard;
  int64_t input_end;   // one past the last one if the input has ended, else beyond all positions
  int64_t next_start;  // the next segment cannot start before it
  int64_t paused;      // frames of the open segment that are in pauses: no speech is expected there
};

class Segment {
 public:
  static constexpr int64_t kSplitWindow = 200;  // frames searched for the quietest place: 2 s

  void Clear() { *this = {}; }
  bool is_open() const { return is_open_; }

  // The detector has found a start at frame `start`. The frames to deliver are from `first` on, whose margin
  // may reach back into the utterance before: that keeps what it has.
  void Start(const SegmentContext& context, int64_t start, int64_t first);

  // One more frame: its samples as they are to be emitted.
  void Deliver(const SegmentContext& context, std::span<const int16_t> samples);

  // The detector can no longer find the end before frame `end`.
  void GoesOnUntil(const SegmentContext& context, int64_t end);

  // The end is at frame `end`; `is_accepted`: the detector accepts the segment as an utterance.
  void End(const SegmentContext& context, int64_t end, int32_t reason, bool is_accepted);

  // The front end's own test: whether it would accept what it has heard as an utterance until frame `end`.
  bool IsUtteranceUntil(int64_t end) const;

  // The first position to deliver for a start at frame `start`, if all frames are there.
  int64_t MarginBefore(const SegmentRules& rules, int64_t start) const;

  // Whether all that belongs to a segment that ends at frame `end` has been delivered.
  bool IsCompleteUntil(const SegmentContext& context, int64_t end) const;

  // Add an event about the open piece that decides nothing. `end`: a frame; -1: none.
  void Tell(const SegmentContext& context, int32_t kind, int64_t end) const;

  int64_t delivered() const { return delivered_; }  // one past the last frame
  int32_t number() const { return number_; }        // of the newest piece, from 1; 0: there was none
  int64_t ended() const { return ended_; }          // one past the last frame of the newest that has ended

 private:
  // Of the frames that have been delivered.
  struct Counts {
    int64_t voiced, voiced_raw, tones;
    int64_t energy, speech;  // from the start on
    void AddVoicing(const FrameNote& note);
    void AddSums(const FrameNote& note);
    Counts operator-(const Counts& other) const;
  };

  struct Range {
    int64_t first, last;
  };

  // A segment that is too long is cut into pieces; most consist of one.
  void BeginPiece(const SegmentContext& context, int64_t start, int64_t first_position, int32_t continues);
  void EndPiece(const SegmentContext& context, int64_t end, int64_t out_end, int32_t complaint,
                int32_t reason);
  void LeaveOut(const SegmentContext& context, int64_t end);
  Range SplitRange(const SegmentContext& context) const;
  void SplitWhileTooLong(const SegmentContext& context, int64_t end);
  void Split(const SegmentContext& context, int64_t at);

  int64_t WantedEnd(const SegmentContext& context, int64_t end) const;
  int64_t OutEnd(const SegmentContext& context, int64_t end) const;
  int64_t PlaceOf(const SegmentContext& context, int64_t position) const;
  int32_t Complaint(const SegmentContext& context, int64_t end, const Counts& whole) const;
  Counts CountsFrom(const SegmentContext& context, int64_t frame) const;
  int32_t LengthUntil(int64_t end) const;

  bool is_open_;
  int32_t number_;       // of the piece, from 1
  int32_t continues_;    // 1: follows a split
  int64_t whole_start_;  // frame where the segment started
  int64_t start_;        // frame where the piece started
  int64_t out_begin_;    // first position of the piece that is emitted
  int64_t place_;        // of that position in the outbox
  int64_t delivered_;    // one past the last frame delivered
  int64_t taken_;        // one past the last position of the utterance before
  int64_t ended_;
  Counts whole_;
  Counts piece_;
};

}  // namespace vask
