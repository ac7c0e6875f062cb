#include "listen/joiner.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace vask::command {
namespace {

constexpr double kLatestStart = 2;  // s: a start is reported at most this much later

double Power(double db) { return std::pow(10.0, db / 10); }
double Tenths(double db) { return std::round(db * 10) / 10; }

}  // namespace

std::vector<Segment> Joiner::Take(const Segment& segment) {
  if (!rules_.any()) return {segment};
  if (segment.rejected) {
    if (!last_) return {segment};
    rejected_.push_back(segment);
    return {};
  }
  if (last_ && Joins(segment)) {
    Join(segment);
    return {};
  }
  std::vector<Segment> settled = Release(segment.start);
  last_ = segment;
  return settled;
}

std::vector<Segment> Joiner::Settle(double heard) {
  if (!last_ || heard - kLatestStart < last_->end + std::max(rules_.join, rules_.pad_end)) return {};
  return Release(std::numeric_limits<double>::infinity());
}

std::vector<Segment> Joiner::End(double length) { return Release(length); }

// Not where --max-segment has split.
bool Joiner::Joins(const Segment& next) const {
  return last_->ended != "split" && next.start - last_->end < rules_.join;
}

// What lies between the two counts neither as speech nor for the level.
void Joiner::Join(const Segment& next) {
  Segment& all = *last_;
  const double before = all.end - all.start, after = next.end - next.start, both = before + after;
  const auto mean = [&](double a, double b) { return both > 0 ? (a * before + b * after) / both : a; };
  const double floor_db = mean(all.level_db - all.snr_db, next.level_db - next.snr_db);
  all.voiced = std::min(1.0, mean(all.voiced, next.voiced) * both / (next.end - all.start));
  all.level_db = Tenths(10 * std::log10(mean(Power(all.level_db), Power(next.level_db))));
  all.snr_db = Tenths(all.level_db - floor_db);
  all.clipped = mean(all.clipped, next.clipped);
  all.end = next.end;
  all.span_end = next.span_end;
  all.last = next.last;
  all.ended = next.ended;
  rejected_.clear();  // they are inside it
}

void Joiner::Widen(Segment& segment, double latest_end) {
  // What the utterance before has taken stays with that one.
  if (rules_.pad_start > 0) segment.span_start = segment.start - rules_.pad_start;
  if (rules_.pad_end > 0)
    segment.span_end = std::max(segment.span_end, std::min(segment.end + rules_.pad_end, latest_end));
  segment.span_start = std::max(segment.span_start, end_);
  segment.first = std::llround(segment.span_start * rate_);
  segment.last = std::llround(segment.span_end * rate_);
  end_ = segment.span_end;
}

std::vector<Segment> Joiner::Release(double latest_end) {
  std::vector<Segment> settled;
  if (!last_) return settled;
  Widen(*last_, latest_end);
  settled.push_back(*std::exchange(last_, std::nullopt));
  settled.insert(settled.end(), rejected_.begin(), rejected_.end());
  rejected_.clear();
  return settled;
}

}  // namespace vask::command
