// What the fuzz targets share. A target is one function that takes its input from a FuzzedDataProvider, and
// ends the process where the library breaks a promise; the sanitizers do so where it breaks the language.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vask::fuzz {

using Input = FuzzedDataProvider;
using Bytes = std::vector<uint8_t>;
using Samples = std::vector<int16_t>;

[[noreturn]] void Fail(const char* claim, const char* file, int line);

// Ends the process unless the claim is true, in every build.
#define VASK_REQUIRE(claim) \
  static_cast<void>((claim) ? void() : ::vask::fuzz::Fail(#claim, __FILE__, __LINE__))

// Makes a function of an input the target.
#define VASK_FUZZ(run)                                                      \
  extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) { \
    ::vask::fuzz::Input input(data, size);                                  \
    run(input);                                                             \
    return 0;                                                               \
  }

// A number of this range, more often than not one of its ends or near them.
template <typename T>
T Edgy(Input& input, T low, T high) {
  switch (input.ConsumeIntegralInRange<int>(0, 7)) {
    case 0:
      return low;
    case 1:
      return high;
    default:
      return input.ConsumeIntegralInRange<T>(low, high);
  }
}

}  // namespace vask::fuzz
