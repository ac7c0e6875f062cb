// A vector's handle points at element 0; its length is in the float before it. A matrix's handle points at
// row 0; before it comes a header vector {0, rows, columns}.
#include "ecd/matrix.h"

#include <algorithm>
#include <cstdlib>

#include "dsp/arith.h"
#include "dsp/memory.h"
#include "dsp/message.h"

namespace vask {
namespace {

// Bytes for `count` elements and the one before them; -1, which cannot be allocated, for a negative count or
// a size beyond 32 bits.
template <typename T>
constexpr int32_t BytesFor(int32_t count) {
  const int64_t bytes = (int64_t{count} + 1) * static_cast<int64_t>(sizeof(T));
  return count < 0 || bytes > kMax32 ? -1 : static_cast<int32_t>(bytes);
}

}  // namespace

void* AllocateOrExit(int32_t bytes) {
  void* storage = NewZeroed<char>(bytes);
  if (storage != nullptr) return storage;
  Say(Message::kFailure, "Not enough memory : size = %d\n", bytes);
  std::exit(0);
}

fvector MakeVector(int32_t length) {
  auto* block = static_cast<float*>(AllocateOrExit(BytesFor<float>(length)));
  block[0] = static_cast<float>(length);
  return block + 1;
}

void ReleaseVector(fvector& v) {
  if (v != nullptr) std::free(v - 1);
  v = nullptr;
}

fmatrix MakeMatrix(int32_t rows, int32_t columns) {
  auto* handles = static_cast<fvector*>(AllocateOrExit(BytesFor<fvector>(rows)));
  for (int32_t i = 1; i <= rows; ++i) handles[i] = MakeVector(columns);
  handles[0] = MakeVector(3);
  handles[0][0] = 0.0f;
  handles[0][1] = static_cast<float>(rows);
  handles[0][2] = static_cast<float>(columns);
  return handles + 1;
}

void ReleaseMatrix(fmatrix& m) {
  if (m == nullptr) return;
  const int32_t rows = RowsOf(m);
  for (int32_t i = -1; i < rows; ++i) ReleaseVector(m[i]);
  std::free(m - 1);
  m = nullptr;
}

void ZeroMatrix(fmatrix m) {
  if (m == nullptr) return;
  for (int32_t i = 0; i < RowsOf(m); ++i) std::fill_n(m[i], ColumnsOf(m), 0.0f);
}

int32_t RowsOf(fmatrix m) { return m == nullptr ? 0 : static_cast<int32_t>(m[-1][1]); }
int32_t ColumnsOf(fmatrix m) { return m == nullptr ? 0 : static_cast<int32_t>(m[-1][2]); }

}  // namespace vask

extern "C" {

void* ecd_alloc(int32_t bytes) { return vask::AllocateOrExit(bytes); }
fvector create_fvector(int32_t n) { return vask::MakeVector(n); }
void free_fvector(fvector v) { vask::ReleaseVector(v); }
fmatrix create_fmatrix(int32_t r, int32_t c) { return vask::MakeMatrix(r, c); }
void free_fmatrix(fmatrix m) { vask::ReleaseMatrix(m); }
void zero_fmatrix(fmatrix m) { vask::ZeroMatrix(m); }
int32_t fmatrix_rows(fmatrix m) { return vask::RowsOf(m); }
int32_t fmatrix_cols(fmatrix m) { return vask::ColumnsOf(m); }

void copy_fvector(fvector src, fvector dst, int32_t n) {
  if (src != nullptr && dst != nullptr && n > 0) std::copy_n(src, n, dst);
}

}  // extern "C"
