// DC notch, pre-emphasis, majority vote. int16 samples or int32 values in and out.
#include "dsp/filters.h"

#include "dsp/arith.h"

namespace vask {
namespace {

constexpr int32_t kDcPoleQ30 = Q<30>(1.0 - 1.0 / 1024);
static_assert(kDcPoleQ30 == 0x3ff00000);
constexpr int32_t kPreEmphasisQ30 = Q<30>(0.97);
static_assert(kPreEmphasisQ30 == 0x3e147ae1);

}  // namespace

void ClearDcFilter(dc_filt& f) { f = {}; }

void RemoveDc(std::span<int32_t> x, dc_filt& f) {
  for (int32_t& value : x) {
    // A step of more than full scale wraps: the sum keeps 32 bits.
    const int32_t out = Low32(int64_t{value} - f.prev_in + MulShift<30>(f.prev_out, kDcPoleQ30));
    f.prev_in = value;
    f.prev_out = out;
    value = out;
  }
}

void ClearPreEmphasis(pre_emph_filt& f) { f = {.coef = kPreEmphasisQ30, .prev = 0}; }

void Emphasize(pre_emph_filt& f, std::span<const int16_t> samples, int32_t* out) {
  for (size_t i = 0; i < samples.size(); ++i) {
    const int32_t value = samples[i] * 65536;
    out[i] = Low32(value - MulShift<30>(f.prev, f.coef));  // opposite full-scale samples wrap
    f.prev = value;
  }
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
  if (n < 1) return 0 > (n >> 1) ? 1 : 0;  // an empty sum against half of a count that may be negative
  if (d == nullptr) return 0;
  return vask::Majority({d, static_cast<size_t>(n)});
}

}  // extern "C"
