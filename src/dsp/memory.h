// Storage of records: one way to allocate it (zeroed, or null) and one way to release it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace vask {

// Zeroed storage for `count` elements, or null if there is no memory, the count is negative or the size
// exceeds the address space. A count of 0 gives a valid, empty block.
template <typename T>
T* NewZeroed(int64_t count) {
  if (count < 0 || static_cast<uint64_t>(count) > SIZE_MAX / sizeof(T)) return nullptr;
  return static_cast<T*>(std::calloc(count > 0 ? static_cast<size_t>(count) : 1, sizeof(T)));
}

// Release and null, so that releasing again is harmless.
template <typename T>
void Release(T*& data) {
  std::free(data);
  data = nullptr;
}

}  // namespace vask
