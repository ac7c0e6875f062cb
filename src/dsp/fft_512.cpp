#include "dsp/fft_512.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/kernel.h"

#if VASK_HAS_AVX2
#include <immintrin.h>
#elif VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr std::array<int32_t, 32> kReversed5 = [] {
  std::array<int32_t, 32> reversed{};
  for (int32_t i = 0; i < 32; ++i) {
    for (int32_t bit = 0; bit < 5; ++bit) reversed[static_cast<size_t>(i)] |= ((i >> bit) & 1) << (4 - bit);
  }
  return reversed;
}();

// -1 for the columns whose 32 points are one group of the 32-point stage, else 0.
constexpr std::array<int32_t, 16> kIsOneGroup = [] {
  std::array<int32_t, 16> mask{};
  for (size_t column = 0; column < mask.size(); ++column) {
    for (int32_t start = 0, step = 64; start < kFftSize; start = 2 * step - 32, step *= 4) {
      if (16 * kReversed5[column] >= start && (16 * kReversed5[column] - start) % step == 0)
        mask[column] = -1;
    }
  }
  return mask;
}();

#define VASK_KERNEL_FILE "dsp/fft_512_kernel.inc"
#include "dsp/machines.inc"

VASK_BODY bool IsNarrowBody(const Samples512& samples) {
  constexpr uint32_t kBound = (1 << 22) - (1 << 10);  // of magnitudes / 512, truncated; sums fit 32 bits
  uint32_t sum = 0;
#pragma GCC unroll 4
  for (const int32_t v : samples) sum += static_cast<uint32_t>(v ^ (v >> 31)) >> 9;
  return sum < kBound;
}

}  // namespace

VASK_KERNEL(bool, IsNarrow, (const Samples512& samples), (samples), IsNarrowPortable)

VASK_PICK(void, RealFft512, (const Samples512& samples, const fft_tables& twiddles, Packed512& x),
          (samples.data(), twiddles, x.data()), portable::Transform512, portable::Transform512,
          avx2::Transform512, neon::Transform512)

VASK_PICK(void, PowerOf512, (const Packed512& transform, int32_t shift, int64_t* x),
          (transform.data(), shift, x), portable::PowerOf512, portable::PowerOf512, avx2::PowerOf512,
          neon::PowerOf512)

}  // namespace vask
