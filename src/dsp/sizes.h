// Sizes that all rooms share, in samples at 16 kHz and bins of 31.25 Hz.
#pragma once

#include <cstdint>

namespace vask {

inline constexpr int32_t kSampleRate = 16000;   // Hz
inline constexpr int32_t kFrame = 160;          // 10 ms
inline constexpr int32_t kWindow = 2 * kFrame;  // what the detector looks at
inline constexpr int32_t kFftOrder = 9;
inline constexpr int32_t kFftSize = 1 << kFftOrder;         // 512 points
inline constexpr int32_t kSpectrumBins = kFftSize / 2 + 1;  // 257
inline constexpr int32_t kSmoothedBins = kFftSize / 4 + 1;  // 129: pairs of them, 62.5 Hz each

}  // namespace vask
