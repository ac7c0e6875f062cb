#include "scoring/score.h"

#include <algorithm>
#include <cmath>

namespace vask::command {
namespace {

using Intervals = std::vector<SpeechInterval>;

constexpr double kStartEarly = 0.5, kStartLate = 0.1, kEndEarly = 0.15,
                 kEndLate = 0.7;    // of a usable utterance
constexpr double kRoundOff = 1e-9;  // so that 0.1 s late is not later than 0.1 s

bool Overlap(const SpeechInterval& a, const SpeechInterval& b) { return a.start < b.end && a.end > b.start; }

// As intervals that neither overlap nor touch, in order.
Intervals United(Intervals intervals) {
  std::sort(intervals.begin(), intervals.end(), [](auto& a, auto& b) { return a.start < b.start; });
  Intervals united;
  for (const SpeechInterval& next : intervals) {
    if (next.end <= next.start) continue;
    if (!united.empty() && next.start <= united.back().end) {
      united.back().end = std::max(united.back().end, next.end);
    } else {
      united.push_back(next);
    }
  }
  return united;
}

// What is in both; each is united.
Intervals Common(const Intervals& a, const Intervals& b) {
  Intervals common;
  for (size_t i = 0, j = 0; i < a.size() && j < b.size();) {
    const double start = std::max(a[i].start, b[j].start), end = std::min(a[i].end, b[j].end);
    if (start < end) common.push_back({start, end});
    a[i].end < b[j].end ? ++i : ++j;
  }
  return common;
}

// What of `a` is not in `b`; each is united.
Intervals Without(const Intervals& a, const Intervals& b) {
  Intervals rest;
  for (SpeechInterval part : a) {
    for (const SpeechInterval& hole : b) {
      if (!Overlap(part, hole)) continue;
      if (hole.start > part.start) rest.push_back({part.start, hole.start});
      part.start = hole.end;
      if (part.start >= part.end) break;
    }
    if (part.start < part.end) rest.push_back(part);
  }
  return rest;
}

double Length(const Intervals& intervals) {
  double length = 0;
  for (const SpeechInterval& interval : intervals) length += interval.end - interval.start;
  return length;
}

Intervals AroundEdges(const Intervals& speech, double collar) {
  Intervals around;
  for (const SpeechInterval& interval : speech) {
    for (const double edge : {interval.start, interval.end}) around.push_back({edge - collar, edge + collar});
  }
  return United(around);
}

Intervals WholeOf(const RecordingSpeech& truth, const RecordingSpeech& found) {
  double end = std::max(truth.seconds, found.seconds);
  for (const RecordingSpeech* side : {&truth, &found}) {
    for (const SpeechInterval& interval : side->speech) end = std::max(end, interval.end);
  }
  return {{0, end}};
}

void ScoreTime(Score& score, const Intervals& truth, const Intervals& found, const Intervals& parts) {
  const Intervals speech = Common(United(truth), parts), heard = Common(United(found), parts);
  score.scored = Length(parts);
  score.speech = Length(speech);
  score.missed = Length(Without(speech, heard));
  score.false_alarm = Length(Without(heard, speech));
}

void ScoreUtterances(Score& score, const Intervals& truth, const Intervals& found) {
  std::vector<int> owners(found.size());
  std::vector<std::vector<size_t>> hits(truth.size());
  size_t first = 0;  // of the segments that may overlap this utterance or a later one
  for (size_t i = 0; i < truth.size(); ++i) {
    while (first < found.size() && found[first].end <= truth[i].start) ++first;
    for (size_t k = first; k < found.size() && found[k].start < truth[i].end; ++k) {
      if (!Overlap(truth[i], found[k])) continue;
      hits[i].push_back(k);
      ++owners[k];
    }
  }
  score.utterances = static_cast<int>(truth.size());
  score.segments = static_cast<int>(found.size());
  for (const int count : owners) {
    score.merging += count > 1;
    score.wrong += count == 0;
  }
  for (size_t i = 0; i < truth.size(); ++i) {
    score.found += !hits[i].empty();
    score.split += hits[i].size() > 1;
    if (hits[i].size() != 1 || owners[hits[i][0]] != 1) continue;
    const SpeechInterval& segment = found[hits[i][0]];
    const double start = segment.start - truth[i].start, end = segment.end - truth[i].end;
    score.start_errors.push_back(start);
    score.end_errors.push_back(end);
    score.usable += start >= -kStartEarly - kRoundOff && start <= kStartLate + kRoundOff &&
                    end >= -kEndEarly - kRoundOff && end <= kEndLate + kRoundOff;
  }
}

Intervals In(const Intervals& parts, const Intervals& intervals) {
  Intervals inside;
  for (const SpeechInterval& interval : intervals) {
    if (std::any_of(parts.begin(), parts.end(), [&](auto& part) { return Overlap(part, interval); })) {
      inside.push_back(interval);
    }
  }
  return inside;
}

}  // namespace

void Score::Add(const Score& other) {
  scored += other.scored;
  speech += other.speech;
  missed += other.missed;
  false_alarm += other.false_alarm;
  utterances += other.utterances;
  found += other.found;
  usable += other.usable;
  split += other.split;
  segments += other.segments;
  merging += other.merging;
  wrong += other.wrong;
  start_errors.insert(start_errors.end(), other.start_errors.begin(), other.start_errors.end());
  end_errors.insert(end_errors.end(), other.end_errors.begin(), other.end_errors.end());
}

Score ScoreOf(const RecordingSpeech& truth, const RecordingSpeech& found, const Intervals* parts,
              double collar) {
  Score score;
  const Intervals all = United(parts != nullptr ? *parts : WholeOf(truth, found));
  const Intervals scored = collar > 0 ? Without(all, AroundEdges(truth.speech, collar)) : all;
  ScoreTime(score, truth.speech, found.speech, scored);
  ScoreUtterances(score, In(all, truth.speech), In(all, found.speech));
  return score;
}

double Percentile(std::vector<double> values, double percent) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  const double place = percent / 100 * static_cast<double>(values.size() - 1);
  const auto below = static_cast<size_t>(place);
  const size_t above = std::min(below + 1, values.size() - 1);
  return values[below] + (place - static_cast<double>(below)) * (values[above] - values[below]);
}

}  // namespace vask::command
