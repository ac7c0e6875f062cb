// The transform for any input: sums wrap beyond 64 bits, products are formed in full. No scaling inside:
// every sum may grow by a bit.
#include "dsp/fft.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/fft_512.h"
#include "dsp/fft_algorithm.h"
#include "dsp/fft_bounded.h"
#include "dsp/kernel.h"
#include "dsp/memory.h"

namespace vask {
namespace {

struct Full {
  using Value = Wrapping64;
  static int64_t Store(Wrapping64 v) { return v.value; }
  static Wrapping64 Times(Wrapping64 a, int32_t c_q30) { return {MulShift<30>(a.value, c_q30)}; }
  // Toward zero; the shift wraps from 2^33 on.
  static Wrapping64 OverRootOfTwo(Wrapping64 a) { return {WrapShl(a.value, 30) / kRootOfTwoQ30}; }
};

// Slot s serves the stage of 2^(s+2) points, one value for each angle j = 1 .. points/8 - 1.
constexpr int32_t SlotSize(int32_t slot) { return slot < 1 ? 0 : (1 << (slot - 1)) - 1; }

bool BuildSlots(int32_t**& slots, int32_t count, std::span<const int32_t> flat) {
  slots = NewZeroed<int32_t*>(count);
  if (slots == nullptr) return false;
  for (int32_t s = 1; s < count; ++s) {
    const auto size = static_cast<size_t>(SlotSize(s));
    slots[s] = NewZeroed<int32_t>(SlotSize(s));
    if (slots[s] == nullptr) return false;
    std::copy_n(flat.begin(), size, slots[s]);
    flat = flat.subspan(size);
  }
  return true;
}

void ReleaseSlots(int32_t**& slots, int32_t count) {
  if (slots == nullptr) return;
  for (int32_t s = 1; s < count; ++s) Release(slots[s]);
  Release(slots);
}

void RealFftPlain(std::span<int64_t> x, int32_t order, const fft_tables& twiddles) {
  RunRealFft<Full>(x, order, twiddles);
}

// The transform in 32 bits where they suffice; false where they do not.
bool RealFftNarrow(std::span<int64_t> x, int32_t order, const fft_tables& twiddles) {
  if (order != kLargestFftOrder) return false;
  Samples512 samples;
  int64_t beyond = 0;
  for (size_t i = 0; i < samples.size(); ++i) {
    samples[i] = Low32(x[i]);
    beyond |= x[i] ^ samples[i];
  }
  if (beyond != 0 || !IsNarrow(samples)) return false;
  Packed512 transform;
  RealFft512(samples, twiddles, transform);
  std::copy_n(transform.begin(), samples.size(), x.begin());
  return true;
}

void RealFftByBounds(std::span<int64_t> x, int32_t order, const fft_tables& twiddles) {
  if (RealFftNarrow(x, order, twiddles)) return;  // speed only
  if (IsBounded(x)) {
    RealFftBounded(x, order, twiddles);  // speed only
  } else {
    RealFftPlain(x, order, twiddles);
  }
}

}  // namespace

VASK_PICK(void, RealFft, (std::span<int64_t> x, int32_t order, const fft_tables& twiddles),
          (x, order, twiddles), RealFftPlain, RealFftByBounds, RealFftByBounds, RealFftByBounds)

bool BuildTwiddles(fft_tables& twiddles, int32_t order) {
  const int32_t slots = order - 1;
  twiddles = {};
  const bool built = BuildSlots(twiddles.cc1, slots, cc1_data) && BuildSlots(twiddles.ss1, slots, ss1_data) &&
                     BuildSlots(twiddles.cc3, slots, cc3_data) && BuildSlots(twiddles.ss3, slots, ss3_data);
  if (!built) ReleaseTwiddles(twiddles, order);
  return built;
}

void ReleaseTwiddles(fft_tables& twiddles, int32_t order) {
  for (int32_t*** slots : {&twiddles.cc1, &twiddles.ss1, &twiddles.cc3, &twiddles.ss3}) {
    ReleaseSlots(*slots, order - 1);
  }
}

}  // namespace vask

extern "C" void rfft(int64_t* x, int32_t n, int32_t m, int32_t** cc1, int32_t** ss1, int32_t** cc3,
                     int32_t** ss3) {
  if (x == nullptr || m < 1 || m > vask::kLargestFftOrder || n != 1 << m) return;
  for (int32_t** slots : {cc1, ss1, cc3, ss3}) {
    // Stages of fewer than 16 points need no factors.
    if (m >= 4 && (slots == nullptr || std::any_of(slots + 2, slots + m - 1, [](auto* s) { return !s; })))
      return;
  }
  vask::RealFft({x, static_cast<size_t>(n)}, m, {cc1, ss1, cc3, ss3});
}
