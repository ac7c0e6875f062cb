// Every level of this machine in turn.
#pragma once

#include "dsp/level.h"

namespace vask::test {

// Calls step(level) with each level in force, the plain one first; then restores the previous level.
template <typename Step>
void AtEachLevel(Step step) {
  const Level before = LevelInForce();
  for (const Level level : LevelsHere()) {
    ForceLevel(level);
    step(level);
  }
  ForceLevel(before);
}

}  // namespace vask::test
