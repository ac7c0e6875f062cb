#include "noise/mel_idct.h"

#include <vask/noise.h>

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/tables/mel_idct.h"

namespace vask {
namespace {

void SumTapsPlain(std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows,
                  int32_t taps) {
  for (int32_t tap = 0; tap < taps; ++tap) {
    scratch[tap] = 0;
    for (size_t band = 0; band < gains.size(); ++band) {
      scratch[tap] += MulShift<30>(rows[tap][band], gains[band]);
    }
  }
}

constexpr uint64_t kBias = uint64_t{1} << 62;

// Each product is shifted separately. With 2^62 added it is positive, so the shift can be a logical one,
// which vectors have; the 2^32 that this adds to each term is subtracted at the end. At most 35 terms of at
// most 2^33 each: no overflow in 64 bits.
VASK_BODY void SumTapsBody(std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows,
                           int32_t taps) {
  for (int32_t tap = 0; tap < taps; ++tap) {
    const int32_t* row = rows[tap];
    uint64_t sum = 0;
    for (size_t band = 0; band < gains.size(); ++band) {
      sum += (static_cast<uint64_t>(int64_t{row[band]} * gains[band]) + kBias) >> 30;
    }
    scratch[tap] = static_cast<int64_t>(sum - (uint64_t{gains.size()} << 32));
  }
}

VASK_KERNEL(void, SumTaps,
            (std::span<const int32_t> gains, int64_t* scratch, const int32_t* const* rows, int32_t taps),
            (gains, scratch, rows, taps), SumTapsPlain)

}  // namespace

void CopyMelIdctBasis(std::span<int32_t* const> rows) {
  for (size_t tap = 0; tap < rows.size(); ++tap) {
    std::copy_n(kMelIdctBasisQ30[tap].begin(), rows.size(), rows[tap]);
  }
}

void MelIdct(std::span<int32_t> gains, int64_t* scratch, const int32_t* const* rows, int32_t taps) {
  SumTaps(gains, scratch, rows, taps);
  for (int32_t tap = 0; tap < taps; ++tap) gains.data()[tap] = Low32(scratch[tap]);
}

}  // namespace vask

extern "C" {

void InitMelIDCTbasis(int32_t** rows, int32_t n) {
  const auto size = static_cast<int32_t>(vask::kMelIdctBasisQ30.size());
  if (rows != nullptr && n > 0) vask::CopyMelIdctBasis({rows, static_cast<size_t>(std::min(n, size))});
}

void DoMelIDCT(int32_t* g, int64_t* scratch, int32_t** rows, int32_t nbands, int32_t ntaps) {
  if (g == nullptr || scratch == nullptr || rows == nullptr) return;
  vask::MelIdct({g, static_cast<size_t>(std::max(nbands, 0))}, scratch, rows, ntaps);
}

}  // extern "C"
