// y[n] = 0.9658498 (x[n] - x[n-1]) + 0.9316996 y[n-1]: zero gain at 0 Hz, unity gain at half the sampling
// rate. int32 values in any scale, coefficients in Q29.
#include "dsp/high_pass.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/memory.h"

namespace vask {
namespace {

constexpr int32_t kTaps = 2;
constexpr int32_t kPoleQ29 = 500202430;  // 0.9316996
constexpr int32_t kGainQ29 = 518536662;  // (1 + pole) / 2
constexpr int32_t kOneQ29 = 1 << 29;

bool IsOpen(const fix32_hp_filt& f) {
  return f.b != nullptr && f.x_hist != nullptr && f.a != nullptr && f.y_hist != nullptr && f.b_len == kTaps &&
         f.a_len == kTaps;
}

}  // namespace

bool CreateHighPass(fix32_hp_filt& f) {
  f = {};
  f.delay = -kTaps;
  f.b_len = f.a_len = kTaps;
  for (int32_t* fix32_hp_filt::*block :
       {&fix32_hp_filt::b, &fix32_hp_filt::x_hist, &fix32_hp_filt::a, &fix32_hp_filt::y_hist}) {
    f.*block = NewZeroed<int32_t>(kTaps);
  }
  if (!IsOpen(f)) {
    ReleaseHighPass(f);
    return false;
  }
  f.b[0] = -kGainQ29;
  f.b[1] = kGainQ29;
  f.a[0] = kPoleQ29;
  f.a[1] = kOneQ29;  // for the current output, which needs no factor
  return true;
}

void ReleaseHighPass(fix32_hp_filt& f) {
  Release(f.b);
  Release(f.x_hist);
  Release(f.a);
  Release(f.y_hist);
}

void ClearHighPass(fix32_hp_filt& f) {
  if (!IsOpen(f)) return;
  std::fill_n(f.x_hist, kTaps, 0);
  std::fill_n(f.y_hist, kTaps, 0);
}

int32_t HighPass(fix32_hp_filt& f, int32_t x) {
  if (!IsOpen(f)) return 0;
  f.x_hist[0] = f.x_hist[1];
  f.x_hist[1] = x;
  f.y_hist[0] = f.y_hist[1];
  int32_t y = 0;
  for (int32_t i = 0; i < kTaps; ++i) y = WrapAdd(y, Low32(MulShift<29>(f.x_hist[i], f.b[i])));
  y = WrapAdd(y, Low32(MulShift<29>(f.y_hist[0], f.a[0])));
  f.y_hist[1] = y;
  return y;
}

}  // namespace vask

extern "C" {

int32_t fix32_init_hp_filt(fix32_hp_filt* f) { return f != nullptr && vask::CreateHighPass(*f) ? 1 : 0; }

int32_t fix32_hp_filtering(int32_t x, fix32_hp_filt* f) { return f != nullptr ? vask::HighPass(*f, x) : 0; }

void fix32_reinit_hp_filt(fix32_hp_filt* f) {
  if (f != nullptr) vask::ClearHighPass(*f);
}

void fix32_close_filt(fix32_hp_filt* f) {
  if (f != nullptr) vask::ReleaseHighPass(*f);
}

}  // extern "C"
