// Counts allocations from the C heap in this process, including the library's own: the program has its own
// malloc, calloc, realloc and aligned variants, which count and then call those of the C library.
#pragma once

#include <cstdint>

namespace vask::bench {

// Allocations by all threads since the program started.
uint64_t AllocationCount();

// Whether they are counted on this platform; that needs glibc.
bool AllocationsAreCounted();

// Record that code which must not allocate did; kept until the end of the run.
void ReportForbiddenAllocation();
bool AnyForbiddenAllocation();

}  // namespace vask::bench
