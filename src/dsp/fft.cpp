// Split-radix FFT of a real sequence (Sorensen, Jones, Heideman, Burrus 1987), in place on 64-bit integers.
// No scaling inside: every sum may grow by a bit, and sums wrap beyond 64 bits.
#include "dsp/fft.h"

#include <algorithm>
#include <utility>

#include "dsp/arith.h"
#include "dsp/memory.h"

namespace vask {
namespace {

constexpr int32_t kRootOfTwoQ30 = 1518500249;

// Twiddle factors of one butterfly: cosine and sine of the angle and of three times the angle, Q30.
struct Twiddle {
  int32_t cc1, ss1, cc3, ss3;
};

Wrapping64 Times(Wrapping64 a, int32_t c_q30) { return {MulShift<30>(a.value, c_q30)}; }

// Division by the root of two, toward zero. The shift wraps from 2^33 on.
Wrapping64 OverRootOfTwo(Wrapping64 a) { return {WrapShl(a.value, 30) / kRootOfTwoQ30}; }

// The L-shaped split-radix structure: the first points of all groups of `len` points that a stage combines.
template <typename Butterfly>
void ForEachGroup(int32_t n, int32_t len, Butterfly butterfly) {
  for (int32_t start = 0, step = 2 * len; start < n; start = 2 * step - len, step *= 4) {
    for (int32_t i = start; i < n; i += step) butterfly(i);
  }
}

void BitReverse(std::span<int64_t> x) {
  const auto n = static_cast<int32_t>(x.size());
  for (int32_t i = 0, j = 0; i < n - 1; ++i) {
    if (i < j) std::swap(x[static_cast<size_t>(i)], x[static_cast<size_t>(j)]);
    int32_t k = n / 2;
    for (; k <= j; k /= 2) j -= k;
    j += k;
  }
}

// Access with wrapping values and signed indices.
class Points {
 public:
  explicit Points(int64_t* x) : x_(x) {}
  Wrapping64 operator[](int32_t i) const { return {x_[i]}; }
  void Set(int32_t i, Wrapping64 v) const { x_[i] = v.value; }

 private:
  int64_t* x_;
};

void LengthTwoButterfly(Points x, int32_t i) {
  const Wrapping64 a = x[i], b = x[i + 1];
  x.Set(i, a + b);
  x.Set(i + 1, a - b);
}

// The butterflies of angle 0 and, from 8 points on, of an eighth of a turn.
void FirstButterfly(Points x, int32_t i, int32_t quarter) {
  int32_t i1 = i, i2 = i1 + quarter, i3 = i2 + quarter, i4 = i3 + quarter;
  Wrapping64 t1 = x[i4] + x[i3];
  x.Set(i4, x[i4] - x[i3]);
  x.Set(i3, x[i1] - t1);
  x.Set(i1, x[i1] + t1);
  if (quarter == 1) return;
  const int32_t eighth = quarter / 2;
  i1 += eighth, i2 += eighth, i3 += eighth, i4 += eighth;
  t1 = OverRootOfTwo(x[i3] + x[i4]);
  const Wrapping64 t2 = OverRootOfTwo(x[i3] - x[i4]);
  x.Set(i4, x[i2] - t1);
  x.Set(i3, -x[i2] - t1);
  x.Set(i2, x[i1] - t2);
  x.Set(i1, x[i1] + t2);
}

void TwiddledButterfly(Points x, int32_t i, int32_t j, int32_t quarter, const Twiddle& w) {
  const int32_t i1 = i + j, i2 = i1 + quarter, i3 = i2 + quarter, i4 = i3 + quarter;
  const int32_t i5 = i + quarter - j, i6 = i5 + quarter, i7 = i6 + quarter, i8 = i7 + quarter;
  const Wrapping64 a1 = Times(x[i3], w.cc1) + Times(x[i7], w.ss1);
  const Wrapping64 a2 = Times(x[i7], w.cc1) - Times(x[i3], w.ss1);
  const Wrapping64 b1 = Times(x[i4], w.cc3) + Times(x[i8], w.ss3);
  const Wrapping64 b2 = Times(x[i8], w.cc3) - Times(x[i4], w.ss3);
  const Wrapping64 sum1 = a1 + b1, sum2 = a2 + b2, difference1 = a1 - b1, difference2 = a2 - b2;
  x.Set(i8, x[i6] + sum2);
  x.Set(i3, sum2 - x[i6]);
  x.Set(i4, x[i2] - difference1);
  x.Set(i7, -x[i2] - difference1);
  x.Set(i6, x[i1] - sum1);
  x.Set(i1, x[i1] + sum1);
  x.Set(i2, x[i5] + difference2);
  x.Set(i5, x[i5] - difference2);
}

// Slot s serves the stage of 2^(s+2) points, one value for each angle j = 1 .. points/8 - 1.
constexpr int32_t SlotSize(int32_t slot) { return slot < 1 ? 0 : (1 << (slot - 1)) - 1; }

bool BuildSlots(int32_t**& slots, int32_t count, std::span<const int32_t> flat) {
  slots = NewZeroed<int32_t*>(count);
  if (slots == nullptr) return false;
  for (int32_t s = 1; s < count; ++s) {
    const auto size = static_cast<size_t>(SlotSize(s));
    slots[s] = NewZeroed<int32_t>(SlotSize(s));
    if (slots[s] == nullptr) return false;
    std::copy_n(flat.begin(), size, slots[s]);
    flat = flat.subspan(size);
  }
  return true;
}

void ReleaseSlots(int32_t**& slots, int32_t count) {
  if (slots == nullptr) return;
  for (int32_t s = 1; s < count; ++s) Release(slots[s]);
  Release(slots);
}

}  // namespace

void RealFft(std::span<int64_t> samples, int32_t order, const fft_tables& twiddles) {
  const auto n = static_cast<int32_t>(samples.size());
  const Points x(samples.data());
  BitReverse(samples);
  ForEachGroup(n, 2, [&](int32_t i) { LengthTwoButterfly(x, i); });
  for (int32_t k = 2; k <= order; ++k) {
    const int32_t len = 1 << k, quarter = len / 4, slot = k - 2;
    ForEachGroup(n, len, [&](int32_t i) { FirstButterfly(x, i, quarter); });
    for (int32_t j = 1; j < len / 8; ++j) {
      const Twiddle w = {twiddles.cc1[slot][j - 1], twiddles.ss1[slot][j - 1],  //
                         twiddles.cc3[slot][j - 1], twiddles.ss3[slot][j - 1]};
      ForEachGroup(n, len, [&](int32_t i) { TwiddledButterfly(x, i, j, quarter, w); });
    }
  }
}

bool BuildTwiddles(fft_tables& twiddles, int32_t order, const FlatTwiddles& flat) {
  const int32_t slots = order - 1;
  twiddles = {};
  const bool built = BuildSlots(twiddles.cc1, slots, flat.cc1) && BuildSlots(twiddles.ss1, slots, flat.ss1) &&
                     BuildSlots(twiddles.cc3, slots, flat.cc3) && BuildSlots(twiddles.ss3, slots, flat.ss3);
  if (!built) ReleaseTwiddles(twiddles, order);
  return built;
}

void ReleaseTwiddles(fft_tables& twiddles, int32_t order) {
  for (int32_t*** slots : {&twiddles.cc1, &twiddles.ss1, &twiddles.cc3, &twiddles.ss3}) {
    ReleaseSlots(*slots, order - 1);
  }
}

}  // namespace vask

extern "C" void rfft(int64_t* x, int32_t n, int32_t m, int32_t** cc1, int32_t** ss1, int32_t** cc3,
                     int32_t** ss3) {
  if (x == nullptr || m < 1 || m > vask::kLargestFftOrder || n != 1 << m) return;
  for (int32_t** slots : {cc1, ss1, cc3, ss3}) {
    // Stages of less than 16 points need no factors.
    if (m >= 4 && (slots == nullptr || std::any_of(slots + 2, slots + m - 1, [](auto* s) { return !s; })))
      return;
  }
  vask::RealFft({x, static_cast<size_t>(n)}, m, {cc1, ss1, cc3, ss3});
}
