#include "dsp/windows.h"

#include <vask/dsp.h>

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/float_mode.h"
#include "dsp/portable_math.h"
#include "dsp/tables/windows.h"

namespace vask {
namespace {

void CopyTable(std::span<const int32_t> table, std::span<int32_t> dst) {
  const size_t count = std::min(table.size(), dst.size());
  std::copy_n(table.begin(), count, dst.begin());
  std::fill(dst.begin() + static_cast<std::ptrdiff_t>(count), dst.end(), 0);
}

}  // namespace

void CopyHanning(std::span<int32_t> dst) { CopyTable(kHanningQ30, dst); }
void CopyHamming(std::span<int32_t> dst) { CopyTable(kHammingQ30, dst); }

void MakeFilterWindow(std::span<int32_t> dst) {
  if (dst.size() == kFilterWindowQ30.size()) return CopyTable(kFilterWindowQ30, dst);
  constexpr double kTwoPi = 6.2831854820251465;  // the single-precision value
  for (size_t i = 0; i < dst.size(); ++i) {
    const double angle = (static_cast<double>(i) + 0.5) * kTwoPi / static_cast<double>(dst.size());
    const auto w = static_cast<float>(0.5 - 0.5 * PortableCos(angle));
    dst[i] = static_cast<int32_t>(static_cast<double>(w) * kOneQ30);
  }
}

}  // namespace vask

extern "C" {

void init_hanning_wind(int32_t* dst, int32_t n) {
  if (dst != nullptr && n > 0) vask::CopyHanning({dst, static_cast<size_t>(n)});
}

void init_hamm_window(int32_t* dst, int32_t n) {
  if (dst != nullptr && n > 0) vask::CopyHamming({dst, static_cast<size_t>(n)});
}

void init_filter_wind(int32_t* dst, int32_t n) {
  const vask::DefaultFloatMode float_mode;
  if (dst != nullptr && n > 0) vask::MakeFilterWindow({dst, static_cast<size_t>(n)});
}

}  // extern "C"
