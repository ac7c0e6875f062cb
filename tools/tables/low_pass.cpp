// The low-pass filter that the resampler samples. Time counts samples of the lower rate, frequency is in
// cycles per sample of it: the pass band ends at 0.45, the stop band begins at 0.5.
//
// Least squares on a grid of three points per sample give a filter whose stop band reaches to 1.5; a short
// kernel interpolates that to 24 points per sample. Sums are in extended precision where the machine has it.
#include <cmath>
#include <numbers>

#include "recipes.h"

namespace vask::tables {
namespace {

using Real = long double;
using Vector = std::vector<Real>;

constexpr int32_t kCoarse = 3, kFine = 24;  // points per sample
constexpr int32_t kRatio = kFine / kCoarse;
constexpr int32_t kHalfLength = 106;       // of the filter on the coarse grid
constexpr int32_t kKernelHalfLength = 38;  // on the fine grid; what follows in its window is next to nothing
constexpr Real kPi = std::numbers::pi_v<Real>;

// The window of Kaiser, 1 in the middle.
Real Kaiser(Real x, Real beta) {  // x: -1 to 1
  const auto bessel = [](Real y) {
    Real sum = 1, term = 1;
    for (int32_t k = 1; k < 60; ++k) sum += term *= y * y / (4 * k * k);
    return sum;
  };
  return bessel(beta * std::sqrt(1 - x * x)) / bessel(beta);
}

// The interpolating kernel, from the middle on: its sum over the fine grid is kRatio.
Vector Kernel() {
  Vector kernel;
  Real sum = 0;
  for (int32_t i = 0; i <= kKernelHalfLength; ++i) {
    const Real x = kPi * i / kRatio;
    const Real sinc = i == 0 ? 1 : std::sin(x) / x;
    kernel.push_back(sinc * Kaiser(i / 43.2L, 11.5L));
    sum += (i == 0 ? 1 : 2) * kernel.back();
  }
  for (Real& value : kernel) value *= kRatio / sum;
  return kernel;
}

// Of a symmetric filter, given from the middle on.
Real Response(const Vector& half, Real frequency, int32_t points_per_sample) {
  Real sum = half[0];
  for (size_t i = 1; i < half.size(); ++i) {
    sum += 2 * half[i] * std::cos(2 * kPi * frequency * static_cast<Real>(i) / points_per_sample);
  }
  return sum;
}

// The solution of a symmetric positive definite system by the factorisation of Cholesky, in place.
Vector Solve(std::vector<Vector> a, Vector b) {
  const size_t n = b.size();
  for (size_t j = 0; j < n; ++j) {
    for (size_t i = j; i < n; ++i) {
      Real sum = a[i][j];
      for (size_t k = 0; k < j; ++k) sum -= a[i][k] * a[j][k];
      a[i][j] = i == j ? std::sqrt(sum) : sum / a[j][j];
    }
  }
  for (size_t i = 0; i < n; ++i) {
    for (size_t k = 0; k < i; ++k) b[i] -= a[i][k] * b[k];
    b[i] /= a[i][i];
  }
  for (size_t i = n; i-- > 0;) {
    for (size_t k = i + 1; k < n; ++k) b[i] -= a[k][i] * b[k];
    b[i] /= a[i][i];
  }
  return b;
}

// The largest errors become small when those that were large weigh more in the next least squares (Lawson's
// method). Far from the pass band less is allowed, since two or more errors add up when the filter is
// sampled.
Vector Coarse(const Vector& kernel) {
  constexpr int32_t kPassPoints = 451, kStopPoints = 1000, kRounds = 40;
  constexpr Real kLeastError = 1e-5L;
  constexpr Real kStopBegin = 0.5L, kStep = 0.001L, kFarBegin = 0.9L;
  struct Point {
    Real wanted, importance, weight;
    Vector waves;  // the filter's coefficients times these are its response
  };
  std::vector<Point> points;
  for (int32_t p = 0; p < kPassPoints + kStopPoints; ++p) {
    const bool passes = p < kPassPoints;
    const Real frequency = passes ? kStep * p : kStopBegin + kStep * (p - kPassPoints);
    const Real importance = passes ? 1 : frequency < kFarBegin ? 170 : 520;
    Point& point =
        points.emplace_back(Point{passes ? Real{1} : Real{0}, importance, importance * importance, {}});
    const Real response = Response(kernel, frequency, kFine) / kRatio;
    for (int32_t i = 0; i <= kHalfLength; ++i) {
      point.waves.push_back(response * (i == 0 ? 1 : 2) * std::cos(2 * kPi * frequency * i / kCoarse));
    }
  }
  Vector filter;
  for (int32_t round = 0; round < kRounds; ++round) {
    std::vector<Vector> a(kHalfLength + 1, Vector(kHalfLength + 1));
    Vector b(kHalfLength + 1);
    for (const Point& point : points) {
      for (size_t i = 0; i < b.size(); ++i) {
        const Real weighted = point.weight * point.waves[i];
        b[i] += weighted * point.wanted;
        for (size_t j = 0; j <= i; ++j) a[i][j] += weighted * point.waves[j];
      }
    }
    filter = Solve(a, b);
    for (Point& point : points) {
      Real error = -point.wanted;
      for (size_t i = 0; i < filter.size(); ++i) error += filter[i] * point.waves[i];
      point.weight *= std::abs(error) * point.importance + kLeastError;
    }
  }
  return filter;
}

}  // namespace

Rows LowPass() {
  constexpr Real kOneQ24 = 1 << 24;
  const Vector kernel = Kernel(), coarse = Coarse(kernel);
  Row table;
  for (int32_t i = 0; i <= kHalfLength * kRatio + kKernelHalfLength; ++i) {
    Real value = 0;
    for (int32_t j = -kHalfLength; j <= kHalfLength; ++j) {
      const int32_t distance = std::abs(i - j * kRatio);
      if (distance <= kKernelHalfLength) value += coarse[std::abs(j)] * kernel[distance];
    }
    table.push_back(static_cast<int32_t>(std::lround(value * kCoarse * kOneQ24)));
  }
  return {table};
}

// A sinc in the window of Kaiser: the taps at odd distances from the middle, which add up to 1/2.
Rows HalfBand() {
  constexpr int32_t kTaps = 24;
  constexpr Real kHalfQ16 = 1 << 15;
  Vector taps;
  Real sum = 0;
  for (int32_t i = 0; i < kTaps; ++i) {
    const Real distance = 2 * i + 1 - kTaps;  // odd
    const Real x = kPi * distance / 2;
    taps.push_back(std::sin(x) / x * Kaiser(distance / kTaps, 9));
    sum += taps.back();
  }
  Row table;
  for (const Real tap : taps) table.push_back(static_cast<int32_t>(std::lround(tap / sum * kHalfQ16)));
  return {table};
}

}  // namespace vask::tables
