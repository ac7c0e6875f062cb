// The open segment of a stream: from the rise that started it, through the frames that the engine delivers,
// to its verdict. Frames are numbered as in the history, positions are samples of the input.
#pragma once

#include <vask/stream.h>

#include <cstdint>
#include <span>

#include "stream/history.h"
#include "stream/outbox.h"

namespace vask {

// Where the frames to decide on come from, and where the decisions go.
struct SegmentContext {
  const vask_stream_options& options;
  const History& history;
  Outbox& outbox;
  int64_t heard;      // samples of the input
  int64_t input_end;  // one past the last one if the input has ended, else beyond all positions
};

class Segment {
 public:
  static constexpr int64_t kSplitWindow = 200;  // frames searched for the quietest place: 2 s

  void Clear() { *this = {}; }
  bool is_open() const { return is_open_; }

  // The detector has found a start at frame `start`; the engine delivers from frame `first` on.
  void Start(const SegmentContext& context, int64_t start, int64_t first);

  // One more frame: its samples as they are to be emitted.
  void Deliver(const SegmentContext& context, std::span<const int16_t> samples);

  // The detector can no longer find the end before frame `end`.
  void GoesOnUntil(const SegmentContext& context, int64_t end);

  // The end is at frame `end`; `is_accepted`: the detector accepts the segment as an utterance.
  void End(const SegmentContext& context, int64_t end, int32_t reason, bool is_accepted);

  // The input has ended, and speech fell silent at frame `end`: apply the detector's test to what there is.
  void EndWithInput(const SegmentContext& context, int64_t end);

 private:
  // Of the frames that the engine has delivered.
  struct Counts {
    int32_t voiced, voiced_raw, tones;
    int64_t energy;  // from the start on
    void Add(const FrameNote& note, bool has_started);
    Counts operator-(const Counts& other) const;
  };

  struct Range {
    int64_t first, last;
  };

  // A segment that is too long is cut into pieces; most consist of one.
  void BeginPiece(const SegmentContext& context, int64_t start, int64_t first_position, int32_t continues);
  void EndPiece(const SegmentContext& context, int64_t end, int64_t out_end, int32_t complaint,
                int32_t reason);
  Range SplitRange(const SegmentContext& context) const;
  void SplitWhileTooLong(const SegmentContext& context, int64_t end);
  void Split(const SegmentContext& context, int64_t at);

  int64_t OutEnd(const SegmentContext& context, int64_t end) const;
  int64_t PlaceOf(const SegmentContext& context, int64_t position) const;
  int32_t Complaint(const SegmentContext& context, int64_t end) const;
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
  Counts whole_;
  Counts piece_;
};

}  // namespace vask
