// Rings: the last `size` elements of a stream; `index` is the slot that the next write fills, so it is also
// that of the oldest element once the ring is full. One set of templates serves all widths.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "dsp/memory.h"
#include "dsp/queue.h"

namespace vask {

template <typename Ring>
bool MakeRing(Ring& ring, int32_t size) {
  ring.data = NewZeroed<ElementOf<Ring>>(size);
  ring.size = size;
  ring.index = 0;
  return ring.data != nullptr;
}

template <typename Ring>
void ClearRing(Ring& ring) {
  ring.index = 0;
  if (ring.data != nullptr && ring.size > 0) std::fill_n(ring.data, ring.size, ElementOf<Ring>{0});
}

template <typename Ring>
bool IsUsable(const Ring& ring) {
  return ring.data != nullptr && ring.size > 0 && ring.index >= 0 && ring.index < ring.size;
}

template <typename Ring>
void WriteRing(Ring& ring, std::span<const ElementOf<Ring>> block) {
  if (!IsUsable(ring)) return;
  while (!block.empty()) {
    const size_t count = std::min(block.size(), static_cast<size_t>(ring.size - ring.index));
    std::copy_n(block.begin(), count, ring.data + ring.index);
    ring.index += static_cast<int32_t>(count);
    if (ring.index == ring.size) ring.index = 0;
    block = block.subspan(count);
  }
}

template <typename Ring>
void WriteRing(Ring& ring, ElementOf<Ring> value) {
  if (!IsUsable(ring)) return;
  ring.data[ring.index] = value;
  ring.index = ring.index + 1 == ring.size ? 0 : ring.index + 1;
}

// All elements of a ring, in the order of their slots.
template <typename Ring>
std::span<ElementOf<Ring>> SlotsOf(const Ring& ring) {
  return {ring.data, static_cast<size_t>(ring.size)};
}

// Frame `slot` (0 = oldest) of a ring that holds whole frames of `frame_size` elements.
template <typename Ring>
std::span<const ElementOf<Ring>> FrameOf(const Ring& ring, int32_t slot, int32_t frame_size) {
  const int64_t position = (int64_t{ring.index} + int64_t{slot} * frame_size) % ring.size;
  return {ring.data + position, static_cast<size_t>(frame_size)};
}

}  // namespace vask
