#include "listening/overlap.h"

#include <algorithm>
#include <cmath>

#include "dsp/kernel.h"
#include "dsp/portable_math.h"

namespace vask {
namespace {

constexpr float kScale = 2.0f / kFftSize;  // of the transform there and back

VASK_BODY float Held(float x) {
  const float above = x > -32768 ? x : -32768;
  return above < 32767 ? above : 32767;
}

VASK_BODY void TakeWindowBody(const HalfWindow& rising, const HalfWindow& older, const HalfWindow& frame,
                              FloatSamples& samples) {
  for (size_t i = 0; i < kFrame; ++i) samples[i] = older[i] * rising[i];
  for (size_t i = 0; i < kFrame; ++i) samples[kFrame + i] = frame[i] * rising[kFrame - 1 - i];
  std::fill(samples.begin() + kWindow, samples.end(), 0.0f);
}

VASK_BODY void AddOverlapBody(const HalfWindow& rising, const FloatSamples& samples, HalfWindow& left,
                              int16_t* out) {
  for (size_t i = 0; i < kFrame; ++i) {
    const float sum = Held(left[i] + samples[i] * (rising[i] * kScale));
    out[i] = static_cast<int16_t>(static_cast<int32_t>(sum + (sum < 0 ? -0.5f : 0.5f)));
  }
  for (size_t i = 0; i < kFrame; ++i) left[i] = samples[kFrame + i] * (rising[kFrame - 1 - i] * kScale);
}

}  // namespace

VASK_KERNEL(void, TakeWindow,
            (const HalfWindow& rising, const HalfWindow& older, const HalfWindow& frame,
             FloatSamples& samples),
            (rising, older, frame, samples), TakeWindowPortable)

VASK_KERNEL(void, AddOverlap,
            (const HalfWindow& rising, const FloatSamples& samples, HalfWindow& left, int16_t* out),
            (rising, samples, left, out), AddOverlapPortable)

void MakeRisingHalf(HalfWindow& rising) {
  constexpr double kTurn = 6.28318530717958648;
  for (size_t i = 0; i < rising.size(); ++i) {
    const double hann = 0.5 - 0.5 * PortableCos(kTurn * (static_cast<double>(i) + 0.5) / kWindow);
    rising[i] = static_cast<float>(std::sqrt(hann));
  }
}

}  // namespace vask
