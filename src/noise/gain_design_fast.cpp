#include "noise/gain_design_fast.h"

#include <cstdint>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/arith.h"
#include "dsp/divide.h"
#include "dsp/kernel.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

constexpr double kOneQ20 = 1 << 20, kTwoTo30 = 1 << 30, kTwoTo50 = kOneQ20 * kTwoTo30;
constexpr double kFloorQ20 = kGainFloorQ20;
constexpr double kOldSnr = kOldSnrQ16 * 0x1p-16, kNewSnr = kNewSnrQ16 * 0x1p-16;

#define VASK_KERNEL_FILE "noise/gain_design_kernel.inc"
#include "dsp/machines.inc"

bool LeaveToThePlainForm(const GainSpectra& /*spectra*/, int32_t /*keep_q30*/, size_t /*first*/) {
  return false;
}

// Where rounding down is a call of a function, the plain form is faster.
#if defined(__x86_64__)
constexpr auto DesignBlockIfFast = LeaveToThePlainForm;
#else
constexpr auto DesignBlockIfFast = portable::DesignBlock;
#endif

}  // namespace

VASK_PICK(bool, DesignModerateBlock, (const GainSpectra& spectra, int32_t keep_q30, size_t first),
          (spectra, keep_q30, first), LeaveToThePlainForm, DesignBlockIfFast, avx2::DesignBlock,
          neon::DesignBlock)

}  // namespace vask
