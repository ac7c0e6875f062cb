// How the processor computes with floating-point numbers while the library does.
#pragma once

#include <cstdint>

namespace vask {

// The bits of the processor's control word that turn subnormal results and operands to zero. 0 on processors
// without such bits.
uint32_t FlushBits();
void SetFlushBits(uint32_t bits);  // others are passed over

// A few values pass through floating point (loudness, log energy, likelihood ratio). An application's own
// rounding mode would move their last bit, and hosts that flush subnormal numbers to zero, as those of audio
// do, would take a small variance for none. So every doorway that leads there holds one of these: it sets
// round-to-nearest and lets subnormal numbers be, and puts the caller's modes back.
class DefaultFloatMode {
 public:
  DefaultFloatMode();
  ~DefaultFloatMode();
  DefaultFloatMode(const DefaultFloatMode&) = delete;
  DefaultFloatMode& operator=(const DefaultFloatMode&) = delete;

 private:
  int callers_rounding_;
  uint32_t callers_flush_bits_;
};

}  // namespace vask
