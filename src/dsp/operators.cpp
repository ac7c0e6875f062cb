// The basic operators: int32 in, int32 out, saturating silently (there is no overflow flag).
#include "dsp/operators.h"

#include <vask/dsp.h>

#include "dsp/tables/square_root.h"

namespace vask {

int32_t InverseRoot(int32_t x) {
  if (x <= 0) return 0x3fffffff;
  const int32_t norm = Norm(x);
  x <<= norm;
  if (norm % 2 == 0) x >>= 1;  // an even number of shifts in all, so that the root halves it
  x >>= 9;
  const int32_t index = HighHalf(x) - 16;  // 0 .. 47
  const int32_t fraction = LowHalf(x >> 1) & 0x7fff;
  const int32_t low = kInverseRootQ15[static_cast<size_t>(index)];
  const int32_t next = kInverseRootQ15[static_cast<size_t>(index) + 1];
  const int32_t root = MultiplySubtract(low << 16, low - next, fraction);
  return ShiftRight(root, (30 - norm) / 2 + 1);
}

}  // namespace vask

extern "C" {

int32_t norm_l(int32_t x) { return vask::Norm(x); }
int32_t L_shl(int32_t x, int32_t s) { return vask::ShiftLeft(x, s); }
int32_t L_shr(int32_t x, int32_t s) { return vask::ShiftRight(x, s); }
int32_t extract_h(int32_t x) { return vask::HighHalf(x); }
int32_t extract_l(int32_t x) { return vask::LowHalf(x); }
int32_t L_msu(int32_t acc, int32_t a, int32_t b) { return vask::MultiplySubtract(acc, a, b); }
int32_t Inv_sqrt(int32_t x) { return vask::InverseRoot(x); }
int32_t epd_abs_s(int32_t x) { return vask::Magnitude(x); }

void L_Extract(int32_t x, int32_t* hi, int32_t* lo) {
  if (hi == nullptr || lo == nullptr) return;
  const vask::Halves halves = vask::SplitHalves(x);
  *hi = halves.high;
  *lo = halves.low;
}

}  // extern "C"
