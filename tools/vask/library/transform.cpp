#include "library/transform.h"

#include <new>

#include "dsp/fft.h"

namespace vask::command {
namespace {

static_assert(kFftSize == kTransformPoints);

fft_tables BuiltInTwiddles() {
  fft_tables twiddles = {};
  if (!BuildTwiddles(twiddles, kFftOrder)) throw std::bad_alloc();
  return twiddles;
}

}  // namespace

void Transform(std::array<int64_t, kTransformPoints>& x) {
  static const fft_tables twiddles = BuiltInTwiddles();
  RealFft(x, kFftOrder, twiddles);
}

}  // namespace vask::command
