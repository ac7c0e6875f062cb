#include "dsp/portable_math.h"

#include <cmath>

namespace vask {
namespace {

// Constants in two pieces: products of the upper one with small integers are exact.
constexpr double kLn2High = 0x1.62e42fefa38p-1, kLn2Low = 0x1.ef35793c76730p-45;
constexpr double kHalfPiHigh = 0x1.921fb54442p+0, kHalfPiLow = 0x1.a308d313198a3p-41;

// 1 - x^2/2! + x^4/4! - ... and x - x^3/3! + ..., |x| <= pi/4: the first terms omitted are below 1e-17.
double CosSeries(double x2) {
  double sum = 1;
  for (int n = 18; n >= 4; n -= 2) sum = 1 - sum * x2 / (n * (n - 1));
  return 1 - (0.5 * x2) * sum;
}

double SinSeries(double x, double x2) {
  double sum = 1;
  for (int n = 19; n >= 5; n -= 2) sum = 1 - sum * x2 / (n * (n - 1));
  return x - x * (x2 / 6) * sum;
}

}  // namespace

double PortableExp(double x) {
  const double doublings = std::floor(x / kLn2High + 0.5);
  const double r = (x - doublings * kLn2High) - doublings * kLn2Low;  // |r| <= ln 2 / 2
  double series = 1;
  for (int n = 14; n >= 2; --n) series = 1 + series * r / n;
  return std::ldexp(1 + r * series, static_cast<int>(doublings));
}

double PortableLog(double x) {
  int exponent = 0;
  double m = std::frexp(x, &exponent);
  if (m < 0.70710678118654752) {
    m *= 2;
    --exponent;
  }
  // ln m = 2 atanh(s); |s| < 0.1716, and the first term omitted is below 1e-18.
  const double s = (m - 1) / (m + 1), s2 = s * s;
  double series = 0;
  for (int n = 21; n >= 3; n -= 2) series = series * s2 + 1.0 / n;
  const double log_m = 2 * s + 2 * s * s2 * series;
  return exponent * kLn2High + (exponent * kLn2Low + log_m);
}

double PortableCos(double x) {
  const double quarters = std::floor(x / kHalfPiHigh + 0.5);
  const double r = (x - quarters * kHalfPiHigh) - quarters * kHalfPiLow;
  const double r2 = r * r;
  switch (static_cast<int>(quarters) & 3) {
    case 0:
      return CosSeries(r2);
    case 1:
      return -SinSeries(r, r2);
    case 2:
      return -CosSeries(r2);
    default:
      return SinSeries(r, r2);
  }
}

}  // namespace vask
