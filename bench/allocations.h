// Counts what is taken from the C heap in this process, the library's own calls included: the program brings
// its own malloc, calloc, realloc and their aligned kin, which count and go on to those of the C library.
#pragma once

#include <cstdint>

namespace vask::bench {

// Allocations since the program started, of all threads.
uint64_t AllocationCount();

// Whether they are counted on this platform; it takes glibc.
bool AllocationsAreCounted();

// A part that must not allocate did: remembered until the end of the run.
void ReportForbiddenAllocation();
bool AnyForbiddenAllocation();

}  // namespace vask::bench
