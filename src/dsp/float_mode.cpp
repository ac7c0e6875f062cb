#include "dsp/float_mode.h"

#include <cfenv>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace vask {
namespace {

#if defined(__SSE__)

constexpr uint32_t kFlushBits = 1 << 15 | 1 << 6;  // results and operands
uint32_t ControlWord() { return _mm_getcsr(); }
void SetControlWord(uint32_t word) { _mm_setcsr(word); }

#elif defined(__aarch64__)

constexpr uint32_t kFlushBits = 1 << 24 | 1 << 0;  // both; operands alone
uint32_t ControlWord() {
  uint64_t word = 0;
  asm volatile("mrs %0, fpcr" : "=r"(word) : : "memory");
  return static_cast<uint32_t>(word);
}
void SetControlWord(uint32_t word) { asm volatile("msr fpcr, %0" : : "r"(uint64_t{word}) : "memory"); }

#elif defined(__arm__) && defined(__ARM_FP)

constexpr uint32_t kFlushBits = 1 << 24;
uint32_t ControlWord() {
  uint32_t word = 0;
  asm volatile("vmrs %0, fpscr" : "=r"(word) : : "memory");
  return word;
}
void SetControlWord(uint32_t word) { asm volatile("vmsr fpscr, %0" : : "r"(word) : "memory"); }

#else

constexpr uint32_t kFlushBits = 0;
uint32_t ControlWord() { return 0; }
void SetControlWord(uint32_t /*word*/) {}

#endif

}  // namespace

uint32_t FlushBits() { return ControlWord() & kFlushBits; }

void SetFlushBits(uint32_t bits) { SetControlWord((ControlWord() & ~kFlushBits) | (bits & kFlushBits)); }

DefaultFloatMode::DefaultFloatMode()
    : callers_rounding_(std::fegetround()), callers_flush_bits_(FlushBits()) {
  if (callers_rounding_ != FE_TONEAREST) std::fesetround(FE_TONEAREST);
  if (callers_flush_bits_ != 0) SetFlushBits(0);
}

DefaultFloatMode::~DefaultFloatMode() {
  if (callers_rounding_ != FE_TONEAREST) std::fesetround(callers_rounding_);
  if (callers_flush_bits_ != 0) SetFlushBits(callers_flush_bits_);
}

}  // namespace vask
