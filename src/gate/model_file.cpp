// Models from files.
#include <cstdio>

#include "gate/model_handle.h"

namespace vask {
namespace {

int64_t ReadFile(const void* path, size_t /*size*/, int8_t* bytes) {
  std::FILE* file = std::fopen(static_cast<const char*>(path), "rb");
  if (file == nullptr) return -VASK_MODEL_NO_FILE;
  const size_t length = std::fread(bytes, 1, kModelRoom, file);
  const bool is_whole = std::ferror(file) == 0;
  std::fclose(file);
  return is_whole ? static_cast<int64_t>(length) : -VASK_MODEL_NO_FILE;
}

}  // namespace
}  // namespace vask

extern "C" vask_model* vask_model_open(const char* path, int32_t* reason) {
  return vask::OpenModel(path, 0, vask::ReadFile, reason);
}
