#include "noise/gsap_fast.h"

#include <algorithm>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/divide.h"
#include "dsp/kernel.h"
#include "dsp/tables/exponential.h"
#include "noise/gsap.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr double kOne = 65536;  // Q16
constexpr double kNewSnr = kNewSnrQ30 * 0x1p-30;
constexpr double kOldSnrHigh = kOldSnrQ30 >> 15, kOldSnrLow = kOldSnrQ30 & 0x7fff;

#define VASK_KERNEL_FILE "noise/gsap_kernel.inc"
#include "dsp/machines.inc"

void RatiosPlain(std::span<int64_t> noise, const int64_t* signal, int64_t* clean, int64_t* ratio) {
  for (size_t b = 0; b < noise.size(); ++b) ratio[b] = LikelihoodRatio(noise[b], signal[b], clean[b]);
}

}  // namespace

VASK_PICK(void, LikelihoodRatios,
          (std::span<int64_t> noise, std::span<const int64_t> signal, int64_t* clean, int64_t* ratio),
          (noise, signal.data(), clean, ratio), RatiosPlain, portable::RatiosByGroups, avx2::RatiosByGroups,
          neon::RatiosByGroups)

}  // namespace vask
