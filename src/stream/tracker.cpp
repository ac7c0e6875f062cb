#include "stream/tracker.h"

#include <algorithm>

namespace vask {
namespace {

int16_t OutputOf(const Verdict& verdict, int32_t back) {
  switch (back) {
    case 0:
      return verdict.speech_now;
    case 5:
      return verdict.speech_100ms_ago;
    case 10:
      return verdict.speech_200ms_ago;
    default:
      return verdict.utterance;
  }
}

}  // namespace

void Tracker::Clear() {
  marks_ = {};
  steps_ = open_known_ = close_known_ = paused_ = cursor_ = floor_ = 0;
  input_steps_ = kMax64;
  run_ = 0;
  newest_q15_ = 0;
  is_open_ = false;
}

void Tracker::Hear(const Verdict& verdict) {
  MarkAt(steps_) = 0;  // neither output has judged it yet
  const int64_t opening = steps_ - rules_.open_back, closing = steps_ - rules_.close_back;
  ++steps_;
  if (opening >= 0 && opening < input_steps_) {
    newest_q15_ = OutputOf(verdict, rules_.open_back);
    if (newest_q15_ >= rules_.open_q15) MarkAt(opening) |= kIsProbable;
    if (newest_q15_ >= rules_.start_q15) MarkAt(opening) |= kIsPossible;
    open_known_ = opening + 1;
  }
  if (closing >= 0 && closing < input_steps_) {
    if (OutputOf(verdict, rules_.close_back) > rules_.close_q15) MarkAt(closing) |= kIsUtterance;
    close_known_ = closing + 1;
  }
}

std::optional<Change> Tracker::Next() {
  const int64_t known = is_open_ ? std::min(open_known_, close_known_) : open_known_;
  const int32_t wanted = is_open_ ? rules_.pause_steps : rules_.open_steps;
  while (cursor_ < known) {
    const uint8_t mark = MarkAt(cursor_++);
    const bool counts = is_open_ ? (mark & (kIsProbable | kIsUtterance)) == 0 : (mark & kIsProbable) != 0;
    if (is_open_ && !counts && run_ >= kLeastPauseSteps) paused_ += run_;
    run_ = counts ? run_ + 1 : 0;
    if (run_ < wanted) continue;
    const int64_t first = cursor_ - run_;
    run_ = 0;
    is_open_ = !is_open_;
    if (!is_open_) {
      floor_ = std::max(cursor_, first + rules_.margin_steps);
      return Change{.starts = false, .at = first};
    }
    paused_ = 0;
    cursor_ = first;  // the closing output may not have judged it yet
    return Change{.starts = true, .at = StartOf(first)};
  }
  return std::nullopt;
}

int64_t Tracker::StartOf(int64_t first_probable) {
  const int64_t earliest = EarliestSoft(first_probable);
  int64_t start = first_probable;
  while (start > earliest && (MarkAt(start - 1) & kIsPossible) != 0) --start;
  return start;
}

}  // namespace vask
