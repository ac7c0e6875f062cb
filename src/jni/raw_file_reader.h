// Reading a file of raw values, bytes or samples, through the one open file.
#pragma once

#include <cstdint>
#include <span>

#include "process/raw_file.h"

namespace vask {

// Open for reading. The file's token, or 0 if it cannot be opened, and then none is open. A file that was
// open before is forgotten, not closed.
int32_t OpenRawFile(RawFile& raw, const char* path);

// Fill dst with values as they stand in the file; returns how many there were.
template <typename T>
int32_t ReadRawFile(const RawFile& raw, std::span<T> dst) {
  return static_cast<int32_t>(std::fread(dst.data(), sizeof(T), dst.size(), raw.file));
}

// Close; 0, also if no file is open.
int32_t CloseRawFile(RawFile& raw);

}  // namespace vask
