// Rows of log mel energies in, change points out. The sums are single precision in a fixed order; only the
// arithmetic around the logarithms is double precision. Another order or width could move a score across 0.
#include "ecd/scoring.h"

#include <algorithm>
#include <array>

#include "dsp/logarithm.h"
#include "ecd/matrix.h"

namespace vask {
namespace {

constexpr int32_t kWindowRows = 2 * kHalfRows;
constexpr float kLogOfNothing = -1e30f;

using Columns = std::array<float, kScoredColumns>;

bool IsReady(const EnvChangeDetect& window) {
  const auto is = [](fmatrix m, int32_t rows) {
    return m != nullptr && RowsOf(m) == rows && ColumnsOf(m) == kScoredColumns;
  };
  return is(window.block, kBlockRows) && is(window.left, kHalfRows) && is(window.right, kHalfRows);
}

// Advance by five rows: the oldest of the left half drop out, and the block becomes the newest of the right
// half.
void Shift(EnvChangeDetect& window) {
  constexpr int32_t kKept = kHalfRows - kBlockRows;
  const auto move = [](fvector from, fvector to) { std::copy_n(from, kScoredColumns, to); };
  for (int32_t i = 0; i < kKept; ++i) move(window.left[i + kBlockRows], window.left[i]);
  for (int32_t i = 0; i < kBlockRows; ++i) move(window.right[i], window.left[kKept + i]);
  for (int32_t i = 0; i < kKept; ++i) move(window.right[i + kBlockRows], window.right[i]);
  for (int32_t i = 0; i < kBlockRows; ++i) move(window.block[i], window.right[kKept + i]);
}

struct Moments {
  Columns sum, squares;
};

Moments MomentsOf(fmatrix half) {
  Moments m;
  for (size_t k = 0; k < m.sum.size(); ++k) {
    m.sum[k] = half[0][k];
    m.squares[k] = half[0][k] * half[0][k];
    for (int32_t i = 1; i < kHalfRows; ++i) {
      m.sum[k] += half[i][k];
      m.squares[k] += half[i][k] * half[i][k];
    }
  }
  return m;
}

Moments Union(const Moments& a, const Moments& b) {
  Moments m;
  for (size_t k = 0; k < m.sum.size(); ++k) {
    m.sum[k] = a.sum[k] + b.sum[k];
    m.squares[k] = a.squares[k] + b.squares[k];
  }
  return m;
}

// The logarithm of the determinant of the covariance. For a product that underflows, is negative through
// rounding or is not a number: kLogOfNothing.
double LogDeterminant(const Moments& m, int32_t rows) {
  const auto n = static_cast<float>(rows);
  float product = 1.0f;
  for (size_t k = 0; k < m.sum.size(); ++k) {
    const float mean = m.sum[k] / n;
    product *= m.squares[k] / n - mean * mean;
  }
  return static_cast<double>(product > 0.0f ? NaturalLog(static_cast<double>(product)) : kLogOfNothing);
}

// 0.4 times the number of parameters of a full-covariance model, times the penalty's logarithms, which are
// single precision.
float Penalty() {
  constexpr double kDim = kScoredColumns;
  const auto ln_all = static_cast<double>(NaturalLog(kWindowRows));
  const auto ln_half = static_cast<double>(NaturalLog(kHalfRows));
  return static_cast<float>((kDim + 0.5 * (kDim * kDim + kDim)) * static_cast<double>(0.4f) *
                            ((ln_all - ln_half) - ln_half));
}

// Below 0: two Gaussians explain the halves better than one explains the window. A score that is not a number
// does not count as below 0.
float Score(const EnvChangeDetect& window) {
  const Moments left = MomentsOf(window.left), right = MomentsOf(window.right);
  const double half_left = 0.5 * LogDeterminant(left, kHalfRows);
  const double half_right = 0.5 * LogDeterminant(right, kHalfRows);
  const double half_all = -0.5 * LogDeterminant(Union(left, right), kWindowRows);
  const double likelihood = kHalfRows * half_left + kHalfRows * half_right + kWindowRows * half_all;
  return static_cast<float>(likelihood - static_cast<double>(Penalty()));
}

// The row of the newer half that differs most from the one before it, the earliest of equals; -1 if all rows
// are the same.
int32_t LargestStep(fmatrix half) {
  int32_t best_row = -1;
  float best = 0.0f;
  for (int32_t i = 1; i < kHalfRows; ++i) {
    float distance = 0.0f;
    for (size_t k = 0; k < kScoredColumns; ++k) {
      const float step = half[i - 1][k] - half[i][k];
      distance += step * step;
    }
    if (distance > best) {
      best = distance;
      best_row = i;
    }
  }
  return best_row;
}

void Note(Changes& changes, int32_t row) {
  (changes.first == -1 ? changes.first : changes.last) = row;
  ++changes.count;
}

}  // namespace

Changes FindChanges(EnvChangeDetect& window, fmatrix rows, int32_t frames) {
  Changes changes;
  if (rows == nullptr || !IsReady(window)) return changes;
  int32_t filled = 0, warm = 0;
  for (int32_t t = 0; t < frames - 1; ++t) {
    std::copy_n(rows[t], kScoredColumns, window.block[filled++]);
    if (filled < kBlockRows) continue;
    filled = 0;
    Shift(window);
    if (warm < kWindowRows) {  // the window is filling
      warm += kBlockRows;
    } else if (Score(window) < 0.0f) {
      // The row is counted back from the newest frame.
      Note(changes, t - LargestStep(window.right));
    }
  }
  return changes;
}

}  // namespace vask
