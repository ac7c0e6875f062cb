#include "stream/segment.h"

#include <algorithm>

#include "dsp/arith.h"
#include "epd/endpoint.h"
#include "stream/level.h"
#include "stream/options.h"

namespace vask {
namespace {

// Loudness around the beginning of frame t: 40 ms of the detector's log energies.
int64_t LoudnessAround(const History& history, int64_t t) {
  int64_t sum = 0;
  for (int64_t i = t - 2; i <= t; ++i) sum += history.Note(i).log_energy;
  return sum;
}

// The frame of first .. last that begins at the quietest place; the last of equals.
int64_t QuietestPlace(const History& history, int64_t first, int64_t last) {
  int64_t quietest = last;
  for (int64_t t = last - 1; t >= first; --t) {
    if (LoudnessAround(history, t) < LoudnessAround(history, quietest)) quietest = t;
  }
  return quietest;
}

}  // namespace

void Segment::Counts::Add(const FrameNote& note, bool has_started) {
  voiced += note.is_voiced;
  voiced_raw += note.is_voiced_raw;
  tones += note.is_tone;
  if (has_started) energy += note.energy;
}

Segment::Counts Segment::Counts::operator-(const Counts& other) const {
  return {voiced - other.voiced, voiced_raw - other.voiced_raw, tones - other.tones, energy - other.energy};
}

void Segment::Start(const SegmentContext& context, int64_t start, int64_t first) {
  const int32_t pad = context.options.pad_start;
  is_open_ = true;
  whole_start_ = start;
  delivered_ = first;
  place_ = context.outbox.pushed();
  whole_ = piece_ = {};
  BeginPiece(context, start, std::max(first * kFrame, pad < 0 ? 0 : start * kFrame - pad), 0);
}

void Segment::BeginPiece(const SegmentContext& context, int64_t start, int64_t first_position,
                         int32_t continues) {
  ++number_;
  continues_ = continues;
  start_ = start;
  out_begin_ = first_position;
  context.outbox.SetCertain(place_);
  context.outbox.Add({.kind = VASK_STREAM_STARTED,
                      .reason = 0,
                      .segment = number_,
                      .continues = continues_,
                      .start = start_ * kFrame,
                      .end = -1,
                      .span_start = out_begin_,
                      .span_end = -1,
                      .heard = context.heard,
                      .voiced_frames = 0,
                      .voiced = 0.0f,
                      .level_db = LevelDb(context.history.Note(start_).energy, kFrame)},
                     place_);
}

void Segment::Deliver(const SegmentContext& context, std::span<const int16_t> samples) {
  const FrameNote& note = context.history.Note(delivered_);
  whole_.Add(note, true);
  piece_.Add(note, delivered_ >= start_);
  const int64_t position = delivered_ * kFrame;
  ++delivered_;
  if (context.options.audio == VASK_STREAM_NO_AUDIO) return;
  const int64_t first = std::clamp<int64_t>(out_begin_ - position, 0, kFrame);
  const int64_t end = std::clamp<int64_t>(context.input_end - position, first, kFrame);
  context.outbox.Push(samples.subspan(static_cast<size_t>(first), static_cast<size_t>(end - first)));
}

void Segment::GoesOnUntil(const SegmentContext& context, int64_t end) {
  if (!is_open_) return;
  end = std::max(end, start_);
  SplitWhileTooLong(context, end);
  int64_t certain = OutEnd(context, end);
  if (context.options.max_samples > 0) certain = std::min(certain, SplitRange(context).first * kFrame);
  context.outbox.SetCertain(PlaceOf(context, certain));
}

// Where the output of a piece that ends at frame `end` ends: padding beyond the longest piece is cut.
int64_t Segment::OutEnd(const SegmentContext& context, int64_t end) const {
  const int64_t most = context.options.max_samples;
  const int64_t padded = end * kFrame + LongestPadEnd(context.options);
  const int64_t out_end = std::min({padded, delivered_ * kFrame, context.input_end});
  return std::max(out_begin_, most > 0 ? std::min(out_end, out_begin_ + most) : out_end);
}

// The place in the outbox of a position of the piece that has been emitted.
int64_t Segment::PlaceOf(const SegmentContext& context, int64_t position) const {
  return std::min(place_ + std::max<int64_t>(position - out_begin_, 0), context.outbox.pushed());
}

// The frames at whose beginning the piece may be split.
Segment::Range Segment::SplitRange(const SegmentContext& context) const {
  const int64_t last = (out_begin_ + context.options.max_samples) / kFrame;
  const int64_t middle = (out_begin_ / kFrame + last) / 2;
  return {std::max({last - kSplitWindow, middle, start_ + 1}), last};
}

void Segment::SplitWhileTooLong(const SegmentContext& context, int64_t end) {
  const int64_t most = context.options.max_samples;
  while (most > 0 && end * kFrame - out_begin_ > most) {
    const Range range = SplitRange(context);
    Split(context, QuietestPlace(context.history, range.first, range.last));
  }
}

void Segment::Split(const SegmentContext& context, int64_t at) {
  const Counts rest = CountsFrom(context, at);
  piece_ = piece_ - rest;
  EndPiece(context, at, at * kFrame, Complaint(context, at), VASK_STREAM_BY_SPLIT);
  piece_ = rest;
  BeginPiece(context, at, at * kFrame, 1);
}

Segment::Counts Segment::CountsFrom(const SegmentContext& context, int64_t frame) const {
  Counts counts = {};
  for (int64_t t = frame; t < delivered_; ++t) counts.Add(context.history.Note(t), true);
  return counts;
}

int32_t Segment::LengthUntil(int64_t end) const {
  return static_cast<int32_t>(std::min<int64_t>(end - whole_start_, kMax32));
}

// Why the options reject a segment that lasts until frame `end`, or 0. The whole segment counts, not only the
// piece after the last split.
int32_t Segment::Complaint(const SegmentContext& context, int64_t end) const {
  const vask_stream_options& options = context.options;
  if (whole_.voiced < options.min_voiced_frames) return VASK_STREAM_TOO_LITTLE_VOICE;
  if (int64_t{LengthUntil(end)} * kFrame < options.min_samples) return VASK_STREAM_TOO_SHORT;
  const bool has_tones = int64_t{whole_.tones} * 100 > int64_t{whole_.voiced_raw} * options.max_tone_percent;
  return has_tones ? VASK_STREAM_TONES : 0;
}

void Segment::End(const SegmentContext& context, int64_t end, int32_t reason, bool is_accepted) {
  if (!is_open_) return;
  end = std::max(end, start_);
  SplitWhileTooLong(context, end);
  piece_.energy -= CountsFrom(context, end).energy;
  int32_t complaint = Complaint(context, end);
  if (!is_accepted) {
    complaint = IsLongEnough(LengthUntil(end)) ? VASK_STREAM_TOO_LITTLE_VOICE : VASK_STREAM_TOO_SHORT;
  }
  EndPiece(context, end, OutEnd(context, end), complaint, reason);
  is_open_ = false;
}

void Segment::EndWithInput(const SegmentContext& context, int64_t end) {
  if (!is_open_) return;
  end = std::max(end, start_);
  End(context, end, VASK_STREAM_BY_INPUT_END, IsUtterance(LengthUntil(end), whole_.voiced));
}

// Report how the piece ended. Without a complaint its audio is kept, and the audio after it is left to the
// next piece or, at the end of the segment, cut; with one the piece is taken back.
void Segment::EndPiece(const SegmentContext& context, int64_t end, int64_t out_end, int32_t complaint,
                       int32_t reason) {
  Outbox& outbox = context.outbox;
  const int64_t place_end = PlaceOf(context, out_end);
  if (reason != VASK_STREAM_BY_SPLIT) outbox.TakeBack(place_end, outbox.pushed());
  const int64_t frames = end - start_;
  const int64_t next_place = complaint == 0 ? place_end : outbox.TakeBack(place_, place_end);
  outbox.Add({.kind = complaint == 0 ? VASK_STREAM_ENDED : VASK_STREAM_REJECTED,
              .reason = complaint == 0 ? reason : complaint,
              .segment = number_,
              .continues = continues_,
              .start = start_ * kFrame,
              .end = std::min(end * kFrame, context.input_end),
              .span_start = out_begin_,
              .span_end = out_end,
              .heard = context.heard,
              .voiced_frames = piece_.voiced,
              .voiced = std::min(
                  1.0f, static_cast<float>(piece_.voiced) / static_cast<float>(std::max<int64_t>(frames, 1))),
              .level_db = LevelDb(piece_.energy, frames * kFrame)},
             next_place);
  place_ = next_place;
}

}  // namespace vask
