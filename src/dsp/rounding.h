// The rounding mode while the library computes.
#pragma once

#include <cfenv>

namespace vask {

// A few values pass through floating point (loudness, log energy, likelihood ratio). An application's own
// rounding mode would move their last bit, so every doorway that leads there holds one of these: it sets
// round-to-nearest, and puts the caller's mode back.
class RoundToNearest {
 public:
  RoundToNearest() : callers_mode_(std::fegetround()) {
    if (callers_mode_ != FE_TONEAREST) std::fesetround(FE_TONEAREST);
  }
  ~RoundToNearest() {
    if (callers_mode_ != FE_TONEAREST) std::fesetround(callers_mode_);
  }
  RoundToNearest(const RoundToNearest&) = delete;
  RoundToNearest& operator=(const RoundToNearest&) = delete;

 private:
  int callers_mode_;
};

}  // namespace vask
