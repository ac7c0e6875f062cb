#include "allocations.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <memory>

namespace {

std::atomic<uint64_t> allocation_count = 0;
bool any_forbidden = false;

}  // namespace

#ifdef __GLIBC__

// The C library's own entry points. operator new ends up in malloc anyway.
extern "C" {
void* __libc_malloc(size_t size) noexcept;
void* __libc_calloc(size_t count, size_t size) noexcept;
void* __libc_realloc(void* block, size_t size) noexcept;
void* __libc_memalign(size_t alignment, size_t size) noexcept;

void* malloc(size_t size) noexcept {
  ++allocation_count;
  return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept {
  ++allocation_count;
  return __libc_calloc(count, size);
}

void* realloc(void* block, size_t size) noexcept {
  ++allocation_count;
  return __libc_realloc(block, size);
}

void* aligned_alloc(size_t alignment, size_t size) noexcept {
  ++allocation_count;
  return __libc_memalign(alignment, size);
}

int posix_memalign(void** block, size_t alignment, size_t size) noexcept {
  ++allocation_count;
  void* const taken = __libc_memalign(alignment, size);
  if (taken == nullptr) return ENOMEM;
  *block = taken;
  return 0;
}
}

#endif

namespace vask::bench {

uint64_t AllocationCount() { return allocation_count; }

bool AllocationsAreCounted() {
  const uint64_t before = AllocationCount();
  void* volatile block = std::malloc(1);  // volatile: the pair of calls is not optimised away
  std::free(block);
  const auto number = std::make_unique<int>(1);
  int* volatile kept = number.get();
  static_cast<void>(kept);
  return AllocationCount() == before + 2;
}

void ReportForbiddenAllocation() { any_forbidden = true; }

bool AnyForbiddenAllocation() { return any_forbidden; }

}  // namespace vask::bench
