// Plays the cases of tests/replay/replay.txt over stream.hpp.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "replay/case.h"

namespace vask::replay {

using Lines = std::vector<std::string>;  // of events and audio, then "end"

// Read the cases one after another, each with what is expected of it. Without a recording those that need it
// are left out. Throws std::runtime_error if a line is wrong.
void ForEachCase(std::string_view text, const signal_room& room,
                 const std::function<void(const replay_case& c, const Lines& expected)>& take);

// What a stream answers to a case. Throws std::runtime_error if it does not do what it is told.
Lines Play(const replay_case& c);

// The first lines that differ, "" where there is none on that side. Both are empty if there is no difference.
struct Difference {
  std::string expected, got;
};
Difference FirstDifference(const Lines& expected, const Lines& got);

}  // namespace vask::replay
