// From probabilities to starts and ends. In: the verdict of each step of 20 ms; the outputs that look back
// are put in their place in time here. Out: changes, in steps since the stream was opened or reset.
//
// Closed, it looks for `open_steps` steps in a row in which speech is probable. The start is the first of
// them, or of the steps just before in which it is possible: soft beginnings are known only by what follows.
// Open, it looks for `pause_steps` steps in a row that are quiet: no utterance by the closing output, and not
// probable enough to open. The first of them is the end, and the search for a start goes on after the last.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "dsp/arith.h"
#include "gate/gate.h"

namespace vask {

inline constexpr int32_t kMostLookBack = 20;    // steps
inline constexpr int32_t kMostOpenSteps = 50;   // that a start may take
inline constexpr int32_t kMostSoftSteps = 25;   // before them, that may belong to it
inline constexpr int32_t kLeastPauseSteps = 4;  // quiet steps in a row that are a pause of the speaker's

struct TrackerRules {
  int16_t open_q15;    // probable: this or more
  int16_t start_q15;   // possible: this or more
  int32_t open_steps;  // 1 to kMostOpenSteps
  int32_t open_back;   // steps that the opening output looks back: 0, 5, 10 or 20
  int16_t close_q15;   // improbable: this or less
  int32_t pause_steps;
  int32_t close_back;
  int32_t margin_steps;  // after an end that no start is dated back into
};

struct Change {
  bool starts;  // else it ends
  int64_t at;   // the first step of the segment, or one past the last
};

class Tracker {
 public:
  void Open(const TrackerRules& rules) {
    rules_ = rules;
    Clear();
  }
  void Clear();

  void Hear(const Verdict& verdict);  // of the next step
  std::optional<Change> Next();       // what follows from what has been heard

  // There are no more steps of input than this: what is heard of later ones is ignored.
  void EndInput(int64_t steps) { input_steps_ = steps; }

  bool is_open() const { return is_open_; }
  // One past the newest step that the opening output has judged, and how probable speech is in that step:
  // Q15.
  int64_t judged() const { return open_known_; }
  int16_t newest_q15() const { return newest_q15_; }

  // Steps of the segment that started last that are in pauses which did not end it.
  int64_t paused() const { return paused_; }

  // Steps in a row, until now, that may become the end of the open segment.
  int32_t quiet() const { return is_open_ ? run_ : 0; }
  // Also in the middle of one: if it is longer than that, the next quiet step completes it.
  void SetPause(int32_t steps) { rules_.pause_steps = steps; }

  // While none is open: the first step that may be a probable one of the next start.
  int64_t EarliestProbable() const { return cursor_ - run_; }

  // An open segment will end here or later, and the next one starts here or later.
  int64_t EarliestEnd() const { return cursor_ - run_; }
  int64_t EarliestStart() const { return is_open_ ? cursor_ : EarliestSoft(cursor_ - run_); }

 private:
  enum Mark : uint8_t { kIsProbable = 1, kIsUtterance = 2, kIsPossible = 4 };
  int64_t EarliestSoft(int64_t first_probable) const {
    return std::min(first_probable, std::max(floor_, first_probable - kMostSoftSteps));
  }
  int64_t StartOf(int64_t first_probable);
  uint8_t& MarkAt(int64_t step) { return marks_[static_cast<size_t>(step) % marks_.size()]; }

  TrackerRules rules_;
  std::array<uint8_t, 128> marks_;    // of the newest steps
  int64_t steps_;                     // heard
  int64_t input_steps_;               // kMax64 until the input ends
  int64_t open_known_, close_known_;  // one past the newest step that the outputs have judged
  int64_t paused_;                    // steps
  int64_t cursor_;                    // the step to look at next
  int64_t floor_;                     // no start is dated back to before this
  int32_t run_;                       // steps in a row that may become a start or an end
  int16_t newest_q15_;
  bool is_open_;
};

}  // namespace vask
