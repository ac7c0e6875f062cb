// The one open file of the process, for callers that have no file access of their own.
#pragma once

#include <cstdint>
#include <cstdio>

namespace vask {

struct RawFile {
  std::FILE* file = nullptr;
  int32_t opened = 0;  // how many times; identifies the file to the caller

  int32_t Token() const { return file != nullptr ? opened : 0; }
};

RawFile& FileOfTheProcess();

}  // namespace vask
