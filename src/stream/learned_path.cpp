#include "stream/learned_path.h"

#include <algorithm>

#include "dsp/logarithm.h"
#include "stream/level.h"

namespace vask {
namespace {

constexpr int64_t kStep = kGateStepFrames * kFrame;  // samples
constexpr int64_t kSlackFrames = 8;  // delays of the audio, parts of frames, the frame in work
constexpr int16_t kHalfQ15 = 1 << 14;

constexpr float Probability(int16_t q15) { return static_cast<float>(q15) / 32768.0f; }

// A frame's part in the choice of the quietest place: of two frames, as the detector's unit is of its window.
int32_t LogOfWindow(int64_t energy, int64_t next_energy) {
  constexpr int32_t kShift = 9;  // two full frames of full scale fit
  return 16 * Log2Q16(static_cast<int32_t>((energy + next_energy) >> kShift) + 1);
}

}  // namespace

// --- one frame

void LearnedPath::Take(Timeline& line, std::span<const int16_t, kFrame> frame) {
  const int64_t t = line.frames, out = t - source_.delay();
  line.history.Enter(t, frame);
  if (t > 0) {
    FrameNote& before = line.history.Note(t - 1);
    before.log_energy = LogOfWindow(before.energy, line.history.Note(t).energy);
  }
  if (line.rules.has_audio) {
    const auto samples = source_.Filter(frame);
    if (out >= 0 && line.is_continuous) line.Emit(samples);
    if (out >= 0 && !line.is_continuous) line.history.Keep(out, samples);
  }
  if (gate_.Hear(frame)) Judge(line);
  FollowChanges(line);
}

void LearnedPath::Judge(Timeline& line) {
  ++steps_;
  source_.LearnNoise(gate_.verdict().speech_100ms_ago);
  if (line.input_end != kNoEnd) tracker_.EndInput((line.input_end + kStep - 1) / kStep);
  tracker_.Hear(gate_.verdict());
  NoteJudged(line);
}

void LearnedPath::NoteJudged(Timeline& line) {
  if (tracker_.judged() == noted_) return;
  for (int64_t t = noted_ * kGateStepFrames; t < (noted_ + 1) * kGateStepFrames; ++t) {
    FrameNote& note = line.history.Note(t);
    note.speech = tracker_.newest_q15();
    note.is_voiced = note.speech >= kHalfQ15;
  }
  ++noted_;
}

// --- segments

// A segment whose end is known stays open until its margin is there. If the next one starts before, the
// margin ends with that start.
void LearnedPath::FollowChanges(Timeline& line) {
  Segment& segment = line.segment;
  while (const std::optional<Change> change = tracker_.Next()) {
    if (line.is_continuous) continue;
    if (!change->starts) {
      end_ = change->at * kGateStepFrames;
      is_ending_ = true;
      line.paused = tracker_.paused() * kGateStepFrames;
      continue;
    }
    const int64_t start = change->at * kGateStepFrames;
    if (is_ending_) {
      DeliverNew(line);
      segment.End(line.Context(start * kFrame), end_, VASK_STREAM_BY_SILENCE, true);
      is_ending_ = false;
    }
    segment.Start(line.Context(), start, segment.MarginBefore(line.rules, start) / kFrame);
  }
  if (!segment.is_open()) return;
  DeliverNew(line);
  Settle(line);
}

// Deliver the frames that have their samples and their notes.
void LearnedPath::DeliverNew(Timeline& line) const {
  const int64_t end = std::min(line.frames + 1 - source_.delay(), noted_ * kGateStepFrames);
  const SegmentContext context = line.Context();
  for (int64_t t = line.segment.delivered(); t < end; ++t) {
    line.segment.Deliver(context, line.history.Samples(t));
  }
}

void LearnedPath::Settle(Timeline& line) {
  if (!is_ending_) line.paused = tracker_.paused() * kGateStepFrames;
  const SegmentContext context = line.Context(tracker_.EarliestStart() * kStep);
  const int64_t end = is_ending_ ? end_ : tracker_.EarliestEnd() * kGateStepFrames;
  line.segment.GoesOnUntil(context, end);
  if (!is_ending_ || !line.segment.IsCompleteUntil(context, end)) return;
  line.segment.End(context, end, VASK_STREAM_BY_SILENCE, true);
  is_ending_ = false;
}

// --- the pause that ends a segment

std::optional<Quiet> LearnedPath::QuietNow() const {
  if (!tracker_.is_open()) return std::nullopt;
  return Quiet{tracker_.quiet() * kGateStepFrames, tracker_.EarliestEnd() * kGateStepFrames,
               rules_.pause_steps * kGateStepFrames};
}

int64_t LearnedPath::NoStartBefore(const Timeline& /*line*/) const {
  return tracker_.is_open() ? 0 : tracker_.EarliestProbable() * kGateStepFrames;
}

bool LearnedPath::SetPause(Timeline& line, int32_t steps) {
  TrackerRules rules = rules_;
  rules.pause_steps = steps;
  const Sizes sizes = SizesFor(line, rules);
  if (!line.history.Grow(sizes.notes, sizes.samples, line.frames)) return false;
  most_out_ = std::max(most_out_, sizes.most_out);
  rules_ = rules;
  tracker_.SetPause(steps);
  return true;
}

// --- the input as a whole

int64_t LearnedPath::TotalFrames(const Timeline& line) const {
  if (line.is_continuous) return line.InputFrames() + source_.delay();
  const int64_t whole_steps = (line.InputFrames() + kGateStepFrames - 1) / kGateStepFrames * kGateStepFrames;
  const int64_t look_back = int64_t{std::max(rules_.open_back, rules_.close_back)} * kGateStepFrames;
  return whole_steps + std::max(look_back, source_.delay());
}

void LearnedPath::EndInput(Timeline& line) {
  if (!line.segment.is_open()) return;
  if (is_ending_) {
    line.segment.End(line.Context(), end_, VASK_STREAM_BY_SILENCE, true);
  } else {
    line.segment.End(line.Context(), tracker_.EarliestEnd() * kGateStepFrames, VASK_STREAM_BY_INPUT_END,
                     true);
  }
  is_ending_ = false;
}

void LearnedPath::Measure(const Timeline& line, vask_stream_measures& measures) const {
  measures.detector_at = (steps_ - 1) * kStep;
  measures.speech = tracker_.is_open() ? 1 : 0;
  measures.voiced = gate_.verdict().speech_now >= kHalfQ15 ? 1 : 0;
  measures.open = line.segment.is_open() ? 1 : 0;
  if (steps_ == 0) measures.detector_at = -1;
}

void LearnedPath::Hearing(vask_stream_hearing& hearing) const {
  const Verdict& verdict = gate_.verdict();
  hearing.at = steps_ > 0 ? (steps_ - 1) * kStep : -1;
  hearing.speech = Probability(verdict.speech_now);
  hearing.speech_100ms_ago = Probability(verdict.speech_100ms_ago);
  hearing.speech_200ms_ago = Probability(verdict.speech_200ms_ago);
  hearing.utterance = Probability(verdict.utterance);
  hearing.music = Probability(verdict.music);
  hearing.high_gain = source_.high_gain();
}

void LearnedPath::Clear() {
  gate_.Clear();
  tracker_.Clear();
  source_.Clear();
  steps_ = noted_ = end_ = 0;
  is_ending_ = false;
}

LearnedPath::Sizes LearnedPath::SizesFor(const Timeline& line, const TrackerRules& rules) const {
  const auto frames = [](int64_t samples) { return (samples + kFrame - 1) / kFrame; };
  // How long ago a start can be when it is found, and how long after its end a segment can stay open.
  const int64_t steps_back = std::max(kMostSoftSteps + rules.open_steps + rules.open_back,
                                      rules.pause_steps + std::max(rules.open_back, rules.close_back));
  const int64_t back = steps_back * kGateStepFrames + kSlackFrames;
  const int64_t kept = frames(line.rules.margin_start) + back;
  return {.notes = 2 * back + frames(line.rules.margin_end) + kept + Segment::kSplitWindow,
          .samples = line.is_continuous || !line.rules.has_audio ? 1 : kept,
          .most_out = kept * kFrame};
}

bool LearnedPath::Open(Timeline& line, const vask_stream_setup& setup) {
  rules_ = TrackerRulesOf(setup.rules);
  line.rules = SegmentRulesOf(setup);
  tracker_.Open(rules_);
  const Sizes sizes = SizesFor(line, rules_);
  most_out_ = sizes.most_out;
  if (!line.history.Open(sizes.notes, sizes.samples)) return false;
  if (!gate_.Open(*ModelOf(setup.model))) return false;
  return source_.Open(setup.options.audio, setup.listening_floor_db, setup.listening_mix);
}

void LearnedPath::Close() {
  gate_.Close();
  source_.Close();
}

}  // namespace vask
