// FIR filters with a history in a shift register. int32 values in any scale in and out, coefficients in Q30.
#include "dsp/regression.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "dsp/arith.h"
#include "dsp/float_mode.h"
#include "dsp/memory.h"

namespace vask {
namespace {

// (j - K) / sqrt(2 (1^2 + ... + K^2)), K = taps / 2, in single precision: an inner product with the history
// is its slope times the root of the sum. One tap has no slope.
void DesignSlope(std::span<int32_t> coef) {
  const auto half = static_cast<int32_t>(coef.size() / 2);
  float squares = 0.0f;
  for (int32_t k = 1; k <= half; ++k) squares += static_cast<float>(k) * static_cast<float>(k);
  const auto norm = static_cast<float>(std::sqrt(2.0 * static_cast<double>(squares)));
  for (int32_t j = 0; half > 0 && j < static_cast<int32_t>(coef.size()); ++j) {
    const float weight = static_cast<float>(j - half) / norm;
    coef[static_cast<size_t>(j)] = Q<30>(static_cast<double>(weight));
  }
}

}  // namespace

bool CreateRegression(fir_filt& f, int32_t taps) {
  f = {.coef = nullptr, .hist = nullptr, .len = taps, .delay = -(taps / 2)};
  if (taps < 1) return false;
  f.coef = NewZeroed<int32_t>(taps);
  f.hist = NewZeroed<int32_t>(taps);
  if (f.coef == nullptr || f.hist == nullptr) {
    ReleaseRegression(f);
    return false;
  }
  DesignSlope({f.coef, static_cast<size_t>(taps)});
  return true;
}

void ReleaseRegression(fir_filt& f) {
  Release(f.coef);
  Release(f.hist);
}

bool CreateRegressions(std::span<fir_filt> bank, int32_t taps) {
  for (size_t k = 0; k < bank.size(); ++k) {
    if (CreateRegression(bank[k], taps)) continue;
    ReleaseRegressions(bank.first(k));
    return false;
  }
  return true;
}

void ReleaseRegressions(std::span<fir_filt> bank) {
  for (fir_filt& f : bank) ReleaseRegression(f);
}

void PushValue(fir_filt& f, int32_t x) {
  std::copy_n(f.hist + 1, f.len - 1, f.hist);
  f.hist[f.len - 1] = x;
}

int32_t FilterValue(fir_filt& f, int32_t x) {
  PushValue(f, x);
  int32_t y = 0;
  for (int32_t i = 0; i < f.len; ++i) y = WrapAdd(y, Low32(MulShift<30>(f.hist[i], f.coef[i])));
  return y;
}

void PushValues(std::span<fir_filt> bank, const int32_t* x) {
  for (fir_filt& f : bank) PushValue(f, *x++);
}

void FilterValues(std::span<fir_filt> bank, const int32_t* x, int32_t* y) {
  for (fir_filt& f : bank) *y++ = FilterValue(f, *x++);
}

}  // namespace vask

namespace {

// A filter that was never designed or has been closed accepts nothing.
bool IsOpen(const fir_filt* f) {
  return f != nullptr && f->coef != nullptr && f->hist != nullptr && f->len > 0;
}

std::span<fir_filt> OpenFilters(fir_filt* f, int32_t count) {
  const std::span<fir_filt> bank(f, f == nullptr || count < 0 ? 0 : static_cast<size_t>(count));
  const bool open = std::all_of(bank.begin(), bank.end(), [](const fir_filt& one) { return IsOpen(&one); });
  return open ? bank : std::span<fir_filt>();
}

}  // namespace

extern "C" {

int32_t iinit_filter(fir_filt* f, int32_t len) {
  const vask::DefaultFloatMode float_mode;
  return f != nullptr && vask::CreateRegression(*f, len) ? 1 : 0;
}

int32_t init_filter(fir_filt* f, int32_t count, int32_t len) {
  const vask::DefaultFloatMode float_mode;
  if (count < 1) return 1;
  if (f == nullptr) return 0;
  if (vask::CreateRegressions({f, static_cast<size_t>(count)}, len)) return 1;
  std::free(f);
  return 0;
}

int32_t filter(int32_t x, fir_filt* f) { return IsOpen(f) ? vask::FilterValue(*f, x) : 0; }

void filtering(const int32_t* in, int32_t* out, fir_filt* f, int32_t count) {
  if (in != nullptr && out != nullptr) vask::FilterValues(OpenFilters(f, count), in, out);
}

void buffer(int32_t x, fir_filt* f) {
  if (IsOpen(f)) vask::PushValue(*f, x);
}

void buffering(const int32_t* in, fir_filt* f, int32_t count) {
  if (in != nullptr) vask::PushValues(OpenFilters(f, count), in);
}

void close_filt(fir_filt* f) {
  if (f != nullptr) vask::ReleaseRegression(*f);
}

void close_filter(fir_filt* f, int32_t count) {
  if (f == nullptr) return;
  vask::ReleaseRegressions({f, count < 0 ? 0 : static_cast<size_t>(count)});
  std::free(f);
}

}  // extern "C"
