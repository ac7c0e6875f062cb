#include "jni/raw_file_reader.h"

#include <limits>

namespace vask {

int32_t OpenRawFile(RawFile& raw, const char* path) {
  raw.file = std::fopen(path, "rb");
  if (raw.file != nullptr)
    raw.opened = raw.opened == std::numeric_limits<int32_t>::max() ? 1 : raw.opened + 1;
  return raw.Token();
}

int32_t CloseRawFile(RawFile& raw) {
  if (raw.file == nullptr) return 0;
  const int32_t result = std::fclose(raw.file);
  raw.file = nullptr;
  return result;
}

}  // namespace vask
