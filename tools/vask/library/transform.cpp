#include "library/transform.h"

#include <vask/dsp.h>

#include <cstddef>

namespace vask::command {
namespace {

constexpr int32_t kOrder = 9;
static_assert(1 << kOrder == kTransformPoints);

using Slots = std::array<int32_t*, kOrder - 1>;

// Slot s serves the stage of 2^(s+2) points: 2^(s-1) - 1 values.
Slots Cut(int32_t* table) {
  Slots slots = {};
  for (size_t s = 1; s < slots.size(); ++s) {
    slots[s] = table;
    table += (1 << (s - 1)) - 1;
  }
  return slots;
}

}  // namespace

void Transform(std::array<int64_t, kTransformPoints>& x) {
  static Slots cc1 = Cut(cc1_data), ss1 = Cut(ss1_data), cc3 = Cut(cc3_data), ss3 = Cut(ss3_data);
  rfft(x.data(), kTransformPoints, kOrder, cc1.data(), ss1.data(), cc3.data(), ss3.data());
}

}  // namespace vask::command
