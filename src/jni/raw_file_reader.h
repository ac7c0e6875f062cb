// Reading a file of raw values, bytes or samples, through the one open file.
#pragma once

#include <cstdint>
#include <span>

#include "process/raw_file.h"

namespace vask {

// Open for reading. Returns the file's token, or 0 if it cannot be opened; no file is open then. A file that
// was open before is forgotten, not closed.
int32_t OpenRawFile(RawFile& raw, const char* path);

// Fill dst with values as they are in the file; returns how many there were.
template <typename T>
int32_t ReadRawFile(const RawFile& raw, std::span<T> dst) {
  return static_cast<int32_t>(std::fread(dst.data(), sizeof(T), dst.size(), raw.file));
}

// Close. Returns what fclose returns, or 0 if no file is open.
int32_t CloseRawFile(RawFile& raw);

}  // namespace vask
