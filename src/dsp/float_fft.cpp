#include "dsp/float_fft.h"

#include <cstddef>
#include <cstdint>

#include "dsp/arith.h"
#include "dsp/kernel.h"

namespace vask {
namespace {

constexpr size_t kHalf = kFftSize / 2;  // complex points: even samples and odd samples as their parts
constexpr size_t kLastRow = 57;         // where the angles of 512 points begin in the tables below

constexpr std::array<int32_t, 120> kCosinesQ30 = {
#include "dsp/tables/cc1.inc"
};
constexpr std::array<int32_t, 120> kSinesQ30 = {
#include "dsp/tables/ss1.inc"
};

consteval float FromQ30(int32_t x) { return static_cast<float>(x / 1073741824.0); }  // rounded once

// cos(2 pi j / 512), j = 0 .. 511, from the first eighth of a turn.
consteval float Cosine(size_t j) {
  const size_t half = j > 256 ? 512 - j : j;
  const size_t quarter = half > 128 ? 256 - half : half;
  float value = 1;
  if (quarter == 128) value = 0;
  if (quarter == 64) value = 0.70710678118654752f;
  if (quarter > 0 && quarter < 64) value = FromQ30(kCosinesQ30[kLastRow + quarter - 1]);
  if (quarter > 64 && quarter < 128) value = FromQ30(kSinesQ30[kLastRow + 127 - quarter]);
  return half > 128 ? -value : value;
}

consteval float Sine(size_t j) { return Cosine((j + 384) % 512); }

// Factors of a pass of 4 * n points: those of the second, third and fourth point, side by side.
template <size_t n>
struct PassFactors {
  alignas(32) std::array<float, n> c[3], s[3];
};

template <size_t n>
consteval PassFactors<n> MakePassFactors() {
  PassFactors<n> factors{};
  for (size_t p = 0; p < n; ++p) {
    for (size_t i = 0; i < 3; ++i) {
      factors.c[i][p] = Cosine((i + 1) * p * (128 / n));
      factors.s[i][p] = Sine((i + 1) * p * (128 / n));
    }
  }
  return factors;
}

template <size_t n>
constexpr PassFactors<n> kPassFactors = MakePassFactors<n>();

// Factors that part the spectrum of the even samples from that of the odd ones, halved.
struct HalfTurns {
  alignas(32) std::array<float, kHalf / 2> c, s;
};

constexpr HalfTurns kHalfTurns = []() consteval {
  HalfTurns turns{};
  for (size_t k = 0; k < kHalf / 2; ++k) {
    turns.c[k] = Cosine(k) / 2;
    turns.s[k] = Sine(k) / 2;
  }
  return turns;
}
();

struct Points {
  alignas(32) std::array<float, kHalf> re, im;
};

// One pass of the self-sorting transform: groups of 4 points that are n * stride apart become neighbours at
// `stride`. `angle` of n angles; `at` of `stride` interleaved transforms.
template <size_t n, size_t stride>
VASK_BODY void Butterfly(const Points& x, Points& y, size_t angle, size_t at) {
  const size_t from = at + stride * angle, step = stride * n, to = at + 4 * stride * angle;
  const float a_re = x.re[from], a_im = x.im[from];
  const float b_re = x.re[from + step], b_im = x.im[from + step];
  const float c_re = x.re[from + 2 * step], c_im = x.im[from + 2 * step];
  const float d_re = x.re[from + 3 * step], d_im = x.im[from + 3 * step];
  const float ac_re = a_re + c_re, ac_im = a_im + c_im, bd_re = b_re + d_re, bd_im = b_im + d_im;
  const float amc_re = a_re - c_re, amc_im = a_im - c_im, bmd_re = b_re - d_re, bmd_im = b_im - d_im;
  y.re[to] = ac_re + bd_re;
  y.im[to] = ac_im + bd_im;
  const auto put = [&](size_t i, float re, float im) {
    const float c = kPassFactors<n>.c[i - 1][angle], s = kPassFactors<n>.s[i - 1][angle];
    y.re[to + i * stride] = re * c + im * s;
    y.im[to + i * stride] = im * c - re * s;
  };
  put(1, amc_re + bmd_im, amc_im - bmd_re);
  put(2, ac_re - bd_re, ac_im - bd_im);
  put(3, amc_re - bmd_im, amc_im + bmd_re);
}

template <size_t n, size_t stride>
VASK_BODY void Pass(const Points& x, Points& y) {
  if constexpr (stride == 1) {
    for (size_t angle = 0; angle < n; ++angle) Butterfly<n, stride>(x, y, angle, 0);
  } else {
    for (size_t angle = 0; angle < n; ++angle) {
      for (size_t at = 0; at < stride; ++at) Butterfly<n, stride>(x, y, angle, at);
    }
  }
}

// 256 complex points, in place.
VASK_BODY void Transform256(Points& x) {
  Points y;
  Pass<64, 1>(x, y);
  Pass<16, 4>(y, x);
  Pass<4, 16>(x, y);
  Pass<1, 64>(y, x);
}

VASK_BODY void ForwardFftBody(const FloatSamples& samples, FloatSpectrum& spectrum) {
  Points z;
  for (size_t i = 0; i < kHalf; ++i) {
    z.re[i] = samples[2 * i];
    z.im[i] = samples[2 * i + 1];
  }
  Transform256(z);
  spectrum = {};
  spectrum.re[0] = z.re[0] + z.im[0];
  spectrum.re[kHalf] = z.re[0] - z.im[0];
  for (size_t k = 1; k < kHalf / 2; ++k) {
    const size_t m = kHalf - k;
    const float even_re = 0.5f * (z.re[k] + z.re[m]), even_im = 0.5f * (z.im[k] - z.im[m]);
    const float odd_re = z.im[k] + z.im[m], odd_im = z.re[m] - z.re[k];
    const float c = kHalfTurns.c[k], s = kHalfTurns.s[k];
    const float turned_re = odd_re * c + odd_im * s, turned_im = odd_im * c - odd_re * s;
    spectrum.re[k] = even_re + turned_re;
    spectrum.im[k] = even_im + turned_im;
    spectrum.re[m] = even_re - turned_re;
    spectrum.im[m] = turned_im - even_im;
  }
  spectrum.re[kHalf / 2] = z.re[kHalf / 2];
  spectrum.im[kHalf / 2] = -z.im[kHalf / 2];
}

VASK_BODY void InverseFftBody(const FloatSpectrum& spectrum, FloatSamples& samples) {
  Points z;  // with its parts exchanged, so that the forward transform turns the other way
  z.im[0] = 0.5f * (spectrum.re[0] + spectrum.re[kHalf]);
  z.re[0] = 0.5f * (spectrum.re[0] - spectrum.re[kHalf]);
  for (size_t k = 1; k < kHalf / 2; ++k) {
    const size_t m = kHalf - k;
    const float even_re = 0.5f * (spectrum.re[k] + spectrum.re[m]);
    const float even_im = 0.5f * (spectrum.im[k] - spectrum.im[m]);
    const float turned_re = spectrum.re[k] - spectrum.re[m], turned_im = spectrum.im[k] + spectrum.im[m];
    const float c = kHalfTurns.c[k], s = kHalfTurns.s[k];
    const float odd_re = turned_re * c - turned_im * s, odd_im = turned_im * c + turned_re * s;
    z.im[k] = even_re - odd_im;
    z.re[k] = even_im + odd_re;
    z.im[m] = even_re + odd_im;
    z.re[m] = odd_re - even_im;
  }
  z.im[kHalf / 2] = spectrum.re[kHalf / 2];
  z.re[kHalf / 2] = -spectrum.im[kHalf / 2];
  Transform256(z);
  for (size_t i = 0; i < kHalf; ++i) {
    samples[2 * i] = z.im[i];
    samples[2 * i + 1] = z.re[i];
  }
}

}  // namespace

VASK_KERNEL(void, ForwardFft, (const FloatSamples& samples, FloatSpectrum& spectrum), (samples, spectrum),
            ForwardFftPortable)

VASK_KERNEL(void, InverseFft, (const FloatSpectrum& spectrum, FloatSamples& samples), (spectrum, samples),
            InverseFftPortable)

}  // namespace vask
