// Queues of samples or spectra: a writer appends blocks; a reader follows it and may advance by less than it
// reads. One set of templates serves every record of the form {data, write_pos, read_pos, capacity}. Element
// k of the stream is in data[k mod capacity].
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <span>
#include <type_traits>

#include "dsp/arith.h"
#include "dsp/memory.h"

namespace vask {

template <typename Buffer>
using ElementOf = std::remove_pointer_t<decltype(Buffer::data)>;

template <typename Queue>
bool MakeQueue(Queue& q, int32_t capacity) {
  q = {.data = NewZeroed<ElementOf<Queue>>(capacity), .write_pos = 0, .read_pos = 0, .capacity = capacity};
  return q.data != nullptr;
}

template <typename Queue>
void ClearQueue(Queue& q) {
  q.write_pos = q.read_pos = 0;
  if (q.data != nullptr && q.capacity > 0) std::fill_n(q.data, q.capacity, ElementOf<Queue>{0});
}

// The slot of element `position` of the stream. A reader that skipped past the writer can leave the writer's
// position negative, so a negative remainder is made positive.
template <typename Queue>
int32_t SlotOf(const Queue& q, int64_t position) {
  const auto slot = static_cast<int32_t>(position % q.capacity);
  return slot < 0 ? slot + q.capacity : slot;
}

// Append a block in one piece, overwriting unread elements if necessary. A block that would cross the end of
// the storage is refused: writers append whole frames, and the capacity is a whole number of frames.
template <typename Queue>
void WriteQueue(Queue& q, std::span<const ElementOf<Queue>> block) {
  if (q.data == nullptr || q.capacity <= 0) return;
  const int32_t slot = SlotOf(q, q.write_pos);
  if (block.size() > static_cast<size_t>(q.capacity - slot)) return;
  std::copy(block.begin(), block.end(), q.data + slot);
  const auto count = static_cast<int32_t>(block.size());
  if (q.write_pos > kMax32 - count) {  // a queue that nobody reads: keep counting from the same slot
    q.write_pos = q.capacity + slot;
    q.read_pos = std::min(q.read_pos, q.write_pos);
  }
  q.write_pos += count;
}

enum class QueueRead { kRead, kNotEnough, kCorrupt };

// Read count elements through `convert` into dst, then advance by `advance`. Once the reader has reached
// `wrap_at`, the capacity is subtracted from both positions. With fewer than count unread elements nothing
// changes.
template <typename Queue, typename T, typename Convert>
QueueRead ReadQueue(Queue& q, T* dst, int32_t count, int32_t advance, int32_t wrap_at, Convert convert) {
  if (q.write_pos < q.read_pos) return QueueRead::kCorrupt;
  count = std::max(count, 0);
  if (q.data == nullptr || q.capacity <= 0 || q.write_pos < int64_t{q.read_pos} + count)
    return QueueRead::kNotEnough;
  for (int32_t done = 0; done < count;) {
    const int32_t slot = SlotOf(q, int64_t{q.read_pos} + done);
    const int32_t run = std::min(count - done, q.capacity - slot);  // up to the end of the storage
    if constexpr (std::is_same_v<Convert, std::identity>) {
      std::copy_n(q.data + slot, run, dst + done);  // a block, not one by one
    } else {
      std::transform(q.data + slot, q.data + slot + run, dst + done, convert);
    }
    done += run;
  }
  q.read_pos = LimitTo32(int64_t{q.read_pos} + std::max(advance, 0));
  if (q.read_pos >= wrap_at) {
    q.read_pos -= q.capacity;
    q.write_pos -= q.capacity;
  }
  return QueueRead::kRead;
}

template <typename Queue>
QueueRead ReadQueue(Queue& q, ElementOf<Queue>* dst, int32_t count, int32_t advance) {
  return ReadQueue(q, dst, count, advance, q.capacity, std::identity{});
}

}  // namespace vask
