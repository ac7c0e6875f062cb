// DC notch, pre-emphasis, majority vote. int16 samples or int32 values in and out.
#include "dsp/filters.h"

#include "dsp/arith.h"
#include "dsp/kernel.h"

namespace vask {
namespace {

constexpr int32_t kDcPoleQ30 = Q<30>(1.0 - 1.0 / 1024);
static_assert(kDcPoleQ30 == 0x3ff00000);
constexpr int32_t kPreEmphasisQ30 = Q<30>(0.97);
static_assert(kPreEmphasisQ30 == 0x3e147ae1);

// From the second sample on. Opposite full-scale samples wrap.
void EmphasizeRestPlain(int32_t coef, std::span<const int16_t> samples, int32_t* out) {
  for (size_t i = 1; i < samples.size(); ++i) {
    out[i] = Low32(samples[i] * 65536 - MulShift<30>(samples[i - 1] * 65536, coef));
  }
}

// A sample << 16 times the factor >> 30 is the sample times the factor >> 14, in
// two halves of the factor.
VASK_BODY void EmphasizeRestBody(int32_t coef, std::span<const int16_t> samples, int32_t* out) {
  const int32_t high = coef >> 16, low = coef & 0xffff;
  for (size_t i = 1; i < samples.size(); ++i) {
    const int32_t last = samples[i - 1];
    out[i] = WrapSub(samples[i] * 65536, WrapAdd(WrapShl(high * last, 2), (low * last) >> 14));
  }
}

VASK_KERNEL(void, EmphasizeRest, (int32_t coef, std::span<const int16_t> samples, int32_t* out),
            (coef, samples, out), EmphasizeRestPlain)

}  // namespace

void ClearDcFilter(dc_filt& f) { f = {}; }

void RemoveDc(std::span<int32_t> x, dc_filt& f) {
  int32_t last_in = f.prev_in, last_out = f.prev_out;
  for (int32_t& value : x) {
    // The pole is 1 - 2^-10: rounding the product down is subtracting the share of 2^-10 rounded up. A step
    // of more than full scale wraps: the low 32 bits of the sum are kept.
    const int64_t rise = int64_t{value} - last_in, kept = last_out;
    last_in = value;
    value = last_out = Low32(rise + kept - ((kept + 1023) >> 10));
  }
  f = {.prev_in = last_in, .prev_out = last_out};
}

void ClearPreEmphasis(pre_emph_filt& f) { f = {.coef = kPreEmphasisQ30, .prev = 0}; }

void Emphasize(pre_emph_filt& f, std::span<const int16_t> samples, int32_t* out) {
  if (samples.empty()) return;
  out[0] = Low32(samples[0] * 65536 - MulShift<30>(f.prev, f.coef));  // opposite full-scale samples wrap
  EmphasizeRest(f.coef, samples, out);
  f.prev = samples.back() * 65536;
}

int32_t Majority(std::span<const int16_t> decisions) {
  int16_t sum = 0;
  for (const int16_t d : decisions) sum = Low16(sum + d);
  return sum > static_cast<int32_t>(decisions.size() >> 1) ? 1 : 0;
}

}  // namespace vask

extern "C" {

void init_dc_filt(dc_filt* f) {
  if (f != nullptr) vask::ClearDcFilter(*f);
}

void DCOffsetFil(int32_t* x, dc_filt* f, int32_t n) {
  if (x != nullptr && f != nullptr && n > 0) vask::RemoveDc({x, static_cast<size_t>(n)}, *f);
}

void InitPreEmphFilt(pre_emph_filt* f) {
  if (f != nullptr) vask::ClearPreEmphasis(*f);
}

void PreEmphasis(pre_emph_filt* f, const int16_t* in, int32_t* out, int32_t n) {
  if (f == nullptr || in == nullptr || out == nullptr || n <= 0) return;
  vask::Emphasize(*f, {in, static_cast<size_t>(n)}, out);
}

int32_t median_filt(const int16_t* d, int32_t n, void* /*ignored*/) {
  if (n < 1) return 0 > (n >> 1) ? 1 : 0;  // an empty sum compared with half of a count that may be negative
  if (d == nullptr) return 0;
  return vask::Majority({d, static_cast<size_t>(n)});
}

}  // extern "C"
