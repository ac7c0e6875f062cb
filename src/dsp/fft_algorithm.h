// The split-radix algorithm (Sorensen, Jones, Heideman, Burrus 1987), once for every arithmetic that it
// can run in: `A` gives the type of a value, its sums and its products with factors (Times, OverRootOfTwo).
#pragma once

#include <cstdint>
#include <span>
#include <utility>

#include "dsp/fft.h"

namespace vask {

// Twiddle factors of one butterfly: cosine and sine of the angle and of three times the angle, Q30.
struct Twiddle {
  int32_t cc1, ss1, cc3, ss3;
};

// The L-shaped split-radix structure: the first points of all groups of `len` points that a stage combines.
template <typename Butterfly>
void ForEachGroup(int32_t n, int32_t len, Butterfly butterfly) {
  for (int32_t start = 0, step = 2 * len; start < n; start = 2 * step - len, step *= 4) {
    for (int32_t i = start; i < n; i += step) butterfly(i);
  }
}

inline void BitReverse(std::span<int64_t> x) {
  const auto n = static_cast<int32_t>(x.size());
  for (int32_t i = 0, j = 0; i < n - 1; ++i) {
    if (i < j) std::swap(x[static_cast<size_t>(i)], x[static_cast<size_t>(j)]);
    int32_t k = n / 2;
    for (; k <= j; k /= 2) j -= k;
    j += k;
  }
}

// Access to the points as values of the arithmetic, with signed indices.
template <typename A>
class Points {
 public:
  using Value = typename A::Value;
  explicit Points(int64_t* x) : x_(x) {}
  Value operator[](int32_t i) const { return Value{x_[i]}; }
  void Set(int32_t i, Value v) const { x_[i] = A::Store(v); }

 private:
  int64_t* x_;
};

template <typename A>
void LengthTwoButterfly(Points<A> x, int32_t i) {
  const auto a = x[i], b = x[i + 1];
  x.Set(i, a + b);
  x.Set(i + 1, a - b);
}

// The butterflies of angle 0 and, from 8 points on, of an eighth of a turn.
template <typename A>
void FirstButterfly(Points<A> x, int32_t i, int32_t quarter) {
  int32_t i1 = i, i2 = i1 + quarter, i3 = i2 + quarter, i4 = i3 + quarter;
  auto t1 = x[i4] + x[i3];
  x.Set(i4, x[i4] - x[i3]);
  x.Set(i3, x[i1] - t1);
  x.Set(i1, x[i1] + t1);
  if (quarter == 1) return;
  const int32_t eighth = quarter / 2;
  i1 += eighth, i2 += eighth, i3 += eighth, i4 += eighth;
  t1 = A::OverRootOfTwo(x[i3] + x[i4]);
  const auto t2 = A::OverRootOfTwo(x[i3] - x[i4]);
  x.Set(i4, x[i2] - t1);
  x.Set(i3, -x[i2] - t1);
  x.Set(i2, x[i1] - t2);
  x.Set(i1, x[i1] + t2);
}

template <typename A>
void TwiddledButterfly(Points<A> x, int32_t i, int32_t j, int32_t quarter, const Twiddle& w) {
  const int32_t i1 = i + j, i2 = i1 + quarter, i3 = i2 + quarter, i4 = i3 + quarter;
  const int32_t i5 = i + quarter - j, i6 = i5 + quarter, i7 = i6 + quarter, i8 = i7 + quarter;
  const auto a1 = A::Times(x[i3], w.cc1) + A::Times(x[i7], w.ss1);
  const auto a2 = A::Times(x[i7], w.cc1) - A::Times(x[i3], w.ss1);
  const auto b1 = A::Times(x[i4], w.cc3) + A::Times(x[i8], w.ss3);
  const auto b2 = A::Times(x[i8], w.cc3) - A::Times(x[i4], w.ss3);
  const auto sum1 = a1 + b1, sum2 = a2 + b2, difference1 = a1 - b1, difference2 = a2 - b2;
  x.Set(i8, x[i6] + sum2);
  x.Set(i3, sum2 - x[i6]);
  x.Set(i4, x[i2] - difference1);
  x.Set(i7, -x[i2] - difference1);
  x.Set(i6, x[i1] - sum1);
  x.Set(i1, x[i1] + sum1);
  x.Set(i2, x[i5] + difference2);
  x.Set(i5, x[i5] - difference2);
}

template <typename A>
void RunRealFft(std::span<int64_t> samples, int32_t order, const fft_tables& twiddles) {
  const auto n = static_cast<int32_t>(samples.size());
  const Points<A> x(samples.data());
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

}  // namespace vask
