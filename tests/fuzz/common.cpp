// What every fuzz target has beside its own function.
#include <vask/message.h>

#include <cstdio>
#include <cstdlib>

#include "fuzz/fuzz.h"

namespace vask::fuzz {

void Fail(const char* claim, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: broken: %s\n", file, line, claim);
  std::abort();
}

}  // namespace vask::fuzz

extern "C" {

// The library's messages are part of what is tried, and are formatted; but nobody reads a million of them.
int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
  vask_set_message_sink(vask_drop_message, nullptr);
  return 0;
}

// What asks for more than there is gets null, as from malloc.
const char* __asan_default_options() { return "allocator_may_return_null=1"; }

}  // extern "C"
