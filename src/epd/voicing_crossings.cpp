#include "epd/voicing_crossings.h"

#include <array>

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/sizes.h"
#include "epd/voicing_temporal.h"

namespace vask {
namespace {

constexpr size_t kReach = 3;  // samples that must be without a change

int32_t CountClipCrossingsPlain(std::span<const int16_t> s, int32_t level) {
  std::array<int16_t, kWindow> clipped;
  return CenterClip(s, clipped.data(), level);
}

// In bytes: a window has at most 80 changes with three samples before them, so the count fits as well.
VASK_BODY int32_t CountClipCrossingsBody(std::span<const int16_t> s, int32_t level) {
  const size_t n = s.size();
  const int32_t low = WrapNeg(level);
  std::array<int8_t, kWindow> clipped;
  std::array<int8_t, kWindow + kReach> changed{};  // of sample i: entry i + kReach
  for (size_t i = 0; i < n; ++i) {
    clipped[i] = s[i] >= level ? int8_t{1} : s[i] <= low ? int8_t{-1} : int8_t{0};
  }
  for (size_t i = 1; i < n; ++i) changed[i + kReach] = clipped[i] != clipped[i - 1] ? int8_t{1} : int8_t{0};
  int8_t count = 0;
  for (size_t i = kReach; i < n + kReach; ++i) {
    const int recent = changed[i - 1] | changed[i - 2] | changed[i - 3];
    count = static_cast<int8_t>(count + (changed[i] & ~recent));
  }
  return count;
}

int32_t CountZeroCrossingsBySigns(std::span<const int16_t> s, int16_t* signs) {
  const size_t n = s.size();
  for (size_t i = 0; i < n; ++i) signs[i] = static_cast<int16_t>((s[i] >> 15) | 1);
  int16_t count = 0;
  for (size_t i = 1; i < n; ++i) count = static_cast<int16_t>(count + (((s[i] ^ s[i - 1]) >> 15) & 1));
  return count;
}

}  // namespace

VASK_KERNEL(int32_t, CountClipCrossings, (std::span<const int16_t> s, int32_t level), (s, level),
            CountClipCrossingsPlain)
VASK_PICK(int32_t, CountZeroCrossings, (std::span<const int16_t> s, int16_t* signs), (s, signs),
          ZeroCrossings, CountZeroCrossingsBySigns, CountZeroCrossingsBySigns, CountZeroCrossingsBySigns)

}  // namespace vask
