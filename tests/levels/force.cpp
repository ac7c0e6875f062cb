// Part of a library for the tests, which runs at one level from the moment it is loaded.
#include <cstdlib>

#include "dsp/level.h"

namespace {

__attribute__((constructor)) void Force() {
  if (!vask::ForceLevel(VASK_TEST_LEVEL)) std::abort();
}

}  // namespace
