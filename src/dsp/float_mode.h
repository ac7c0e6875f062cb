// The processor's floating-point mode while the library computes.
#pragma once

#include <cstdint>

namespace vask {

// The bits of the processor's control word that turn subnormal results and operands to zero. 0 on processors
// without such bits.
uint32_t FlushBits();
void SetFlushBits(uint32_t bits);  // other bits are ignored

// A few values pass through floating point (loudness, log energy, likelihood ratio). An application's own
// rounding mode would change their last bit, and in hosts that flush subnormal numbers to zero, as audio
// hosts do, a small variance would become 0. So every doorway that leads there holds one of these: it sets
// round-to-nearest, keeps subnormal numbers and restores the caller's modes.
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
