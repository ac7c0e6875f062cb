// Models from files, behind handles that the application owns.
#include <cstdio>

#include "dsp/memory.h"
#include "gate/model.h"

struct vask_model {
  vask::Model model;
  int8_t* bytes;  // its file
};

namespace vask {
namespace {

// Up to `most` bytes of a file; -1 if it cannot be read.
int64_t ReadFile(const char* path, int8_t* bytes, size_t most) {
  std::FILE* file = std::fopen(path, "rb");
  if (file == nullptr) return -1;
  const size_t length = std::fread(bytes, 1, most, file);
  const bool is_whole = std::ferror(file) == 0;
  std::fclose(file);
  return is_whole ? static_cast<int64_t>(length) : -1;
}

int32_t Open(const char* path, vask_model& opened) {
  constexpr size_t kRoom = kMostModelBytes + 1;  // a longer file is seen to be longer
  opened.bytes = NewZeroed<int8_t>(kRoom);
  if (opened.bytes == nullptr) return VASK_MODEL_NO_MEMORY;
  const int64_t length = ReadFile(path, opened.bytes, kRoom);
  if (length < 0) return VASK_MODEL_NO_FILE;
  return ReadModel({opened.bytes, static_cast<size_t>(length)}, opened.model);
}

}  // namespace

const Model* ModelOf(const vask_model* given) { return given != nullptr ? &given->model : BuiltInModel(); }

}  // namespace vask

extern "C" {

vask_model* vask_model_open(const char* path, int32_t* reason) {
  int32_t found = VASK_MODEL_NO_FILE;
  vask_model* opened = nullptr;
  if (path != nullptr) {
    opened = vask::NewZeroed<vask_model>(1);
    found = opened != nullptr ? vask::Open(path, *opened) : VASK_MODEL_NO_MEMORY;
  }
  if (found != VASK_MODEL_OK) {
    vask_model_close(opened);
    opened = nullptr;
  }
  if (reason != nullptr) *reason = found;
  return opened;
}

void vask_model_close(vask_model* model) {
  if (model == nullptr) return;
  vask::Release(model->bytes);
  vask::Release(model);
}

uint32_t vask_model_digest(const vask_model* model) {
  const vask::Model* found = vask::ModelOf(model);
  return found != nullptr ? found->digest : 0;
}

}  // extern "C"
