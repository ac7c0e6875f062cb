#include "stream/segment.h"

#include <algorithm>

#include "dsp/arith.h"
#include "epd/endpoint.h"
#include "stream/level.h"

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

void Segment::Counts::AddVoicing(const FrameNote& note) {
  voiced += note.is_voiced;
  voiced_raw += note.is_voiced_raw;
  tones += note.is_tone;
}

void Segment::Counts::AddSums(const FrameNote& note) {
  energy = MaxIfNegative(WrapAdd(energy, note.energy));  // full after a week at full scale
  speech += note.speech;
}

Segment::Counts Segment::Counts::operator-(const Counts& other) const {
  return {voiced - other.voiced, voiced_raw - other.voiced_raw, tones - other.tones, energy - other.energy,
          speech - other.speech};
}

int64_t Segment::MarginBefore(const SegmentRules& rules, int64_t start) const {
  return std::max({start * kFrame - rules.margin_start, taken_, int64_t{0}});
}

void Segment::Start(const SegmentContext& context, int64_t start, int64_t first) {
  const bool is_whole = context.rules.margin_start < 0;
  is_open_ = true;
  whole_start_ = start;
  delivered_ = first;
  place_ = context.outbox.pushed();
  whole_ = piece_ = {};
  BeginPiece(context, start, std::max(first * kFrame, is_whole ? taken_ : MarginBefore(context.rules, start)),
             0);
}

void Segment::BeginPiece(const SegmentContext& context, int64_t start, int64_t first_position,
                         int32_t continues) {
  number_ = number_ == kMax32 ? 1 : number_ + 1;
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
  for (Counts* counts : {&whole_, &piece_}) {
    if (delivered_ >= start_) counts->AddSums(note);
    if (delivered_ >= start_ || context.rules.counts_margins) counts->AddVoicing(note);
  }
  const int64_t position = delivered_ * kFrame;
  ++delivered_;
  if (!context.rules.has_audio) return;
  const int64_t first = std::clamp<int64_t>(out_begin_ - position, 0, kFrame);
  const int64_t end = std::clamp<int64_t>(context.input_end - position, first, kFrame);
  context.outbox.Push(samples.subspan(static_cast<size_t>(first), static_cast<size_t>(end - first)));
}

void Segment::GoesOnUntil(const SegmentContext& context, int64_t end) {
  if (!is_open_) return;
  end = std::max(end, start_);
  SplitWhileTooLong(context, end);
  int64_t certain = OutEnd(context, end);
  if (context.rules.longest > 0) certain = std::min(certain, SplitRange(context).first * kFrame);
  context.outbox.SetCertain(PlaceOf(context, certain));
}

// Where the output of a piece that ends at frame `end` should end: before the next segment; what of the
// margin exceeds the longest piece is cut.
int64_t Segment::WantedEnd(const SegmentContext& context, int64_t end) const {
  const int64_t most = context.rules.longest;
  const int64_t padded = end * kFrame + context.rules.margin_end;
  const int64_t out_end = std::min({padded, context.next_start, context.input_end});
  return std::max(out_begin_, most > 0 ? std::min(out_end, out_begin_ + most) : out_end);
}

// And where it ends with what has been delivered.
int64_t Segment::OutEnd(const SegmentContext& context, int64_t end) const {
  return std::max(out_begin_, std::min(WantedEnd(context, end), delivered_ * kFrame));
}

bool Segment::IsCompleteUntil(const SegmentContext& context, int64_t end) const {
  SegmentContext alone = context;
  alone.next_start = kMax64;
  const int64_t wanted = WantedEnd(alone, end);
  return wanted <= delivered_ * kFrame && wanted <= context.next_start;
}

// The place in the outbox of a position of the piece that has been emitted.
int64_t Segment::PlaceOf(const SegmentContext& context, int64_t position) const {
  return std::min(place_ + std::max<int64_t>(position - out_begin_, 0), context.outbox.pushed());
}

// The frames at whose beginning the piece may be split.
Segment::Range Segment::SplitRange(const SegmentContext& context) const {
  const int64_t last = (out_begin_ + context.rules.longest) / kFrame;
  const int64_t middle = (out_begin_ / kFrame + last) / 2;
  return {std::max({last - kSplitWindow, middle, start_ + 1}), last};
}

void Segment::SplitWhileTooLong(const SegmentContext& context, int64_t end) {
  const int64_t most = context.rules.longest;
  while (most > 0 && end * kFrame - out_begin_ > most) {
    const Range range = SplitRange(context);
    Split(context, QuietestPlace(context.history, range.first, range.last));
  }
}

void Segment::Split(const SegmentContext& context, int64_t at) {
  const Counts rest = CountsFrom(context, at);
  const Counts whole = context.rules.counts_margins ? whole_ : whole_ - rest;
  piece_ = piece_ - rest;
  EndPiece(context, at, at * kFrame, Complaint(context, at, whole), VASK_STREAM_BY_SPLIT);
  piece_ = rest;
  BeginPiece(context, at, at * kFrame, 1);
}

Segment::Counts Segment::CountsFrom(const SegmentContext& context, int64_t frame) const {
  Counts counts = {};
  for (int64_t t = frame; t < delivered_; ++t) {
    counts.AddVoicing(context.history.Note(t));
    counts.AddSums(context.history.Note(t));
  }
  return counts;
}

int32_t Segment::LengthUntil(int64_t end) const {
  return static_cast<int32_t>(std::min<int64_t>(end - whole_start_, kMax32));
}

// Why the rules reject a segment that lasts until frame `end`, or 0. `whole`: what the whole segment has, not
// only the piece after the last split.
int32_t Segment::Complaint(const SegmentContext& context, int64_t end, const Counts& whole) const {
  const SegmentRules& rules = context.rules;
  const int64_t length = LengthUntil(end);
  if (whole.voiced < rules.least_voiced) return VASK_STREAM_TOO_LITTLE_VOICE;
  if (length * kFrame < rules.shortest) return VASK_STREAM_TOO_SHORT;
  if (whole.speech < (length - context.paused) * rules.least_speech) return VASK_STREAM_TOO_LITTLE_VOICE;
  const bool has_tones = whole.tones * 100 > whole.voiced_raw * rules.most_tones;
  return has_tones ? VASK_STREAM_TONES : 0;
}

bool Segment::IsUtteranceUntil(int64_t end) const {
  return IsUtterance(LengthUntil(std::max(end, start_)), LimitTo32(whole_.voiced));
}

void Segment::End(const SegmentContext& context, int64_t end, int32_t reason, bool is_accepted) {
  if (!is_open_) return;
  end = std::max(end, start_);
  SplitWhileTooLong(context, end);
  LeaveOut(context, end);
  int32_t complaint = Complaint(context, end, whole_);
  if (!is_accepted) {
    complaint = IsLongEnough(LengthUntil(end)) ? VASK_STREAM_TOO_LITTLE_VOICE : VASK_STREAM_TOO_SHORT;
  }
  EndPiece(context, end, OutEnd(context, end), complaint, reason);
  is_open_ = false;
  ended_ = end;
}

void Segment::Tell(const SegmentContext& context, int32_t kind, int64_t end) const {
  const int64_t newest = (context.heard - 1) / kFrame;
  context.outbox.Add({.kind = kind,
                      .reason = 0,
                      .segment = number_,
                      .continues = continues_,
                      .start = start_ * kFrame,
                      .end = end < 0 ? -1 : std::max(end, start_) * kFrame,
                      .span_start = out_begin_,
                      .span_end = -1,
                      .heard = context.heard,
                      .voiced_frames = 0,
                      .voiced = 0.0f,
                      .level_db = LevelDb(context.history.Note(newest).energy, kFrame)},
                     context.outbox.pushed());
}

// Leave what follows the end, from frame `end` on, out of the counts.
void Segment::LeaveOut(const SegmentContext& context, int64_t end) {
  Counts rest = CountsFrom(context, end);
  if (context.rules.counts_margins) rest = {0, 0, 0, rest.energy, rest.speech};
  piece_ = piece_ - rest;
  whole_ = whole_ - rest;
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
  if (complaint == 0) taken_ = out_end;
  outbox.Add({.kind = complaint == 0 ? VASK_STREAM_ENDED : VASK_STREAM_REJECTED,
              .reason = complaint == 0 ? reason : complaint,
              .segment = number_,
              .continues = continues_,
              .start = start_ * kFrame,
              .end = std::min(end * kFrame, context.input_end),
              .span_start = out_begin_,
              .span_end = out_end,
              .heard = context.heard,
              .voiced_frames = LimitTo32(piece_.voiced),
              .voiced = std::min(
                  1.0f, static_cast<float>(piece_.voiced) / static_cast<float>(std::max<int64_t>(frames, 1))),
              .level_db = LevelDb(piece_.energy, frames * kFrame)},
             next_place);
  place_ = next_place;
}

}  // namespace vask
