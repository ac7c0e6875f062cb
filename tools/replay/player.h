// Plays the cases of tests/replay/replay.txt over stream.hpp.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "replay/case.h"

namespace vask::replay {

// What is expected of a case and what a stream answers: lines of events, audio and "end".
struct Played {
  std::string name;
  std::vector<std::string> expected, got;

  // The first line that differs, "" where there is none on that side. Both empty: all are the same.
  struct Difference {
    std::string expected, got;
  };
  Difference FirstDifference() const;
};

// Play the cases of `text` one after another. Without a recording those that need it are left out. Throws
// std::runtime_error if a line is wrong or a stream does not do what it is told.
void Play(std::string_view text, const signal_room& room, const std::function<void(const Played&)>& take);

}  // namespace vask::replay
