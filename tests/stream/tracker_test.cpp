// Starts and ends from probabilities: single cases drawn as lines, and random ones against the definition
// over whole recordings.
#include "stream/tracker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace vask::test {
namespace {

constexpr int16_t kOpen = 26214, kClose = 16384;  // 0.8, 0.5

// What two outputs say of each step, at its own place in time.
struct Said {
  std::vector<int16_t> opening, closing;
};

struct Segment {
  int64_t start, end;  // end: -1 while it is open
  bool operator==(const Segment&) const = default;
};

// What the net would say at step n of a recording whose later steps are silence.
Verdict At(const Said& said, const TrackerRules& rules, int64_t n) {
  Verdict verdict = {-1, -1, -1, -1, -1};
  const auto say = [&](const std::vector<int16_t>& values, int32_t back) {
    int16_t& output = back == 0    ? verdict.speech_now
                      : back == 5  ? verdict.speech_100ms_ago
                      : back == 10 ? verdict.speech_200ms_ago
                                   : verdict.utterance;
    const int64_t at = n - back;
    if (at >= 0 && at < std::ssize(values)) output = values[static_cast<size_t>(at)];
    if (at < 0) output = 32767;  // of steps before the recording; nobody asks
  };
  say(said.closing, rules.close_back);
  say(said.opening, rules.open_back);  // the same output may serve for both
  return verdict;
}

std::vector<Segment> Track(const Said& said, const TrackerRules& rules) {
  Tracker tracker;
  tracker.Open(rules);
  std::vector<Segment> segments;
  int64_t end_bound = 0, start_bound = 0;
  const int64_t steps = std::ssize(said.opening);
  for (int64_t n = 0; n < steps + kMostLookBack; ++n) {
    if (n == steps) tracker.EndInput(steps);
    tracker.Hear(At(said, rules, n));
    while (const auto change = tracker.Next()) {
      EXPECT_EQ(change->starts, segments.empty() || segments.back().end >= 0);
      EXPECT_GE(change->at, change->starts ? start_bound : end_bound);
      if (change->starts) {
        segments.push_back({change->at, -1});
      } else {
        segments.back().end = change->at;
      }
    }
    if (tracker.is_open()) {
      end_bound = tracker.EarliestEnd();
    }
    EXPECT_GE(tracker.EarliestStart(), start_bound) << "a promise is kept, step " << n;
    start_bound = tracker.EarliestStart();
  }
  EXPECT_EQ(tracker.is_open(), !segments.empty() && segments.back().end < 0);
  return segments;
}

// The definition: the first steps in a row that are probable, then the first in a row that are quiet.
std::vector<Segment> Define(const Said& said, const TrackerRules& rules) {
  const int64_t steps = std::ssize(said.opening);
  const auto first_of = [&](int64_t from, int64_t length, auto is_one) {
    for (int64_t at = from; at + length <= steps; ++at) {
      bool all = true;
      for (int64_t i = at; i < at + length; ++i) all = all && is_one(static_cast<size_t>(i));
      if (all) return at;
    }
    return int64_t{-1};
  };
  std::vector<Segment> segments;
  for (int64_t from = 0, ready = 0; from >= 0;) {
    const int64_t start =
        first_of(from, rules.open_steps, [&](size_t i) { return said.opening[i] >= rules.open_q15; });
    if (start < 0) break;
    const int64_t end = first_of(start, rules.pause_steps, [&](size_t i) {
      return said.closing[i] <= rules.close_q15 && said.opening[i] < rules.open_q15;
    });
    int64_t soft = start;
    while (soft > std::max(ready, start - kMostSoftSteps) &&
           said.opening[static_cast<size_t>(soft - 1)] >= rules.start_q15)
      --soft;
    segments.push_back({soft, end});
    from = end < 0 ? -1 : end + rules.pause_steps;
    ready = std::max(from, end + rules.margin_steps);
  }
  return segments;
}

TEST(Tracker, StartsAndEndsAsDrawn) {
  struct Case {
    std::string opening, closing;  // #: at the threshold of the opening output, +: just under it; #: over
                                   // that of the closing one, -: at it; .: 0
    std::vector<Segment> expected;
  };
  for (const Case& c : {
           // four in a row open; an end at three, dated to the first
           Case{"..####......", "..####......", {{2, 6}}},
           Case{"..###+####..........", "..########..........", {{6, 10}}},
           Case{"..####..####......", "..####--####......", {{2, 12}}},
           Case{"..####...####....", "..####---####....", {{2, 6}, {9, 13}}},
           // the closing output holds it open, and so does the opening one
           Case{"..####..........", "..########---...", {{2, 10}}},
           Case{"..########....", "..##----------", {{2, 10}}},
           // open at the end of the recording
           Case{"....####.", "....####.", {{4, -1}}},
           Case{"....###", "....###", {}},
           Case{"", "", {}},
       }) {
    Said said;
    for (const char mark : c.opening)
      said.opening.push_back(mark == '#' ? kOpen : mark == '+' ? int16_t{kOpen - 1} : int16_t{0});
    for (const char mark : c.closing)
      said.closing.push_back(mark == '#' ? int16_t{kClose + 1} : mark == '-' ? kClose : int16_t{0});
    for (const auto& [open_back, close_back] : {std::pair(0, 20), {10, 20}, {10, 0}, {5, 10}, {0, 10}}) {
      const TrackerRules rules = {kOpen, kOpen, 4, open_back, kClose, 3, close_back, 0};
      EXPECT_EQ(Track(said, rules), c.expected)
          << c.opening << ", looking back " << open_back << ", " << close_back;
    }
  }
}

TEST(Tracker, DatesSoftStartsBackHalfASecondAtMost) {
  for (const auto& [soft, expected] : {std::pair(0, 60), {10, 50}, {25, 35}, {26, 35}, {60, 35}}) {
    Said said;
    said.opening.resize(60, 0);
    std::fill(said.opening.end() - soft, said.opening.end(), int16_t{kOpen - 1});
    said.opening.insert(said.opening.end(), 10, kOpen);
    said.closing.resize(said.opening.size(), kClose + 1);
    EXPECT_EQ(Track(said, {kOpen, kOpen - 1, 4, 10, kClose, 3, 20, 0}),
              (std::vector<Segment>{{expected, -1}}));
  }
}

TEST(Tracker, FindsWhatIsDefined) {
  std::mt19937 random(3);
  const auto any = [&](int32_t least, int32_t most) {
    return least + static_cast<int32_t>(random() % static_cast<uint32_t>(most - least + 1));
  };
  size_t found = 0;
  for (int round = 0; round < 400; ++round) {
    SCOPED_TRACE("round " + std::to_string(round) + ", seed 3");
    const int32_t backs[] = {0, 5, 10, 20};
    const TrackerRules rules = {kOpen,
                                static_cast<int16_t>(kOpen - any(-1, 3)),
                                any(1, round % 10 == 0 ? kMostOpenSteps : 6),
                                backs[any(0, 3)],
                                kClose,
                                any(1, round % 7 == 0 ? 300 : 12),
                                backs[any(0, 3)],
                                any(0, 40)};
    Said said;
    const int32_t stay = any(2, 30);
    bool speaks = false;
    for (int32_t n = any(0, 600); n > 0; --n) {
      if (any(0, stay) == 0) speaks = !speaks;
      said.opening.push_back(static_cast<int16_t>(kOpen + (speaks ? any(-1, 3) : any(-4, 0))));
      said.closing.push_back(static_cast<int16_t>(kClose + (speaks ? any(0, 2) : any(-3, 1))));
    }
    if (rules.open_back == rules.close_back) {  // one output serves for both
      const auto shift = [](int16_t p) { return static_cast<int16_t>(p - kOpen + kClose); };
      std::transform(said.closing.begin(), said.closing.end(), said.opening.begin(), shift);
      said.closing = said.opening;
    }
    const std::vector<Segment> expected = Define(said, rules);
    ASSERT_EQ(Track(said, rules), expected);
    found += expected.size();
  }
  EXPECT_GT(found, 900u);
}

}  // namespace
}  // namespace vask::test
