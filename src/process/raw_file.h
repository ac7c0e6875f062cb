// The one open file of the process, for callers without file access of their own in reach.
#pragma once

#include <cstdint>
#include <cstdio>

namespace vask {

struct RawFile {
  std::FILE* file = nullptr;
  int32_t opened = 0;  // how often; stands for the file towards the caller

  int32_t Token() const { return file != nullptr ? opened : 0; }
};

RawFile& FileOfTheProcess();

}  // namespace vask
