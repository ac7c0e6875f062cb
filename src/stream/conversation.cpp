#include "stream/conversation.h"

#include <cmath>

#include "stream/level.h"

namespace vask {
namespace {

constexpr double kFramesPerSecond = 100;

int64_t Frames(float seconds) { return std::lround(double{seconds} * kFramesPerSecond); }

}  // namespace

void Conversation::Follow(Timeline& line, const std::optional<Quiet>& quiet, int64_t no_start) {
  if (line.is_continuous) return;
  NoteEnds(line);
  if (line.segment.is_open() && quiet) FollowOpen(line, *quiet);
  if (!line.segment.is_open()) FollowClosed(line, no_start);
}

// A segment that ends takes what was said of it along. One may have ended and another one begun in a frame.
void Conversation::NoteEnds(const Timeline& line) {
  const Segment& segment = line.segment;
  const bool is_new = segment.number() != segment_;
  if (is_new || !segment.is_open()) may_have_ended_ = false;
  if (!segment.is_open() && (is_new || was_open_)) {
    waiting_since_ = segment.ended();
    has_told_ = false;
  }
  segment_ = segment.number();
  was_open_ = segment.is_open();
}

// After the end of the input its own end is near: nothing is guessed any more.
void Conversation::FollowOpen(Timeline& line, const Quiet& quiet) {
  if (may_have_ended_ && quiet.frames == 0) {
    line.segment.Tell(line.Context(), VASK_STREAM_WENT_ON, -1);
    may_have_ended_ = false;
  } else if (!may_have_ended_ && may_end_frames_ > 0 && quiet.frames >= may_end_frames_ &&
             may_end_frames_ < quiet.pause && line.input_end == kNoEnd) {
    line.segment.Tell(line.Context(), VASK_STREAM_MAY_HAVE_ENDED, quiet.since);
    may_have_ended_ = true;
  }
}

void Conversation::FollowClosed(Timeline& line, int64_t no_start) {
  if (has_told_ || start_frames_ == 0 || line.input_end != kNoEnd) return;
  if (no_start - waiting_since_ < start_frames_) return;
  has_told_ = true;
  const SegmentContext context = line.Context();
  const int64_t since = waiting_since_ * kFrame;
  line.outbox.Add({.kind = VASK_STREAM_NOBODY_SPOKE,
                   .reason = 0,
                   .segment = 0,
                   .continues = 0,
                   .start = since,
                   .end = context.heard,
                   .span_start = since,
                   .span_end = -1,
                   .heard = context.heard,
                   .voiced_frames = 0,
                   .voiced = 0.0f,
                   .level_db = LevelDb(line.history.Note(line.frames).energy, kFrame)},
                  line.outbox.pushed());
}

void Conversation::Open(const vask_stream_setup& setup) {
  may_end_frames_ = Frames(setup.may_end_after);
  start_frames_ = Frames(setup.start_within);
}

void Conversation::Clear() {
  waiting_since_ = 0;
  segment_ = 0;
  was_open_ = may_have_ended_ = has_told_ = false;
}

}  // namespace vask
