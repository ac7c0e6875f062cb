// Models that the application gives, behind handles that it owns.
#include "gate/model_handle.h"

#include <algorithm>
#include <cstring>

#include "dsp/memory.h"

namespace vask {
namespace {

int32_t Open(const void* source, size_t size, ModelSource read, vask_model& opened) {
  opened.bytes = NewZeroed<int8_t>(kModelRoom);
  if (opened.bytes == nullptr) return VASK_MODEL_NO_MEMORY;
  const int64_t length = read(source, size, opened.bytes);
  if (length < 0) return static_cast<int32_t>(-length);
  return ReadModel({opened.bytes, static_cast<size_t>(length)}, opened.model);
}

int64_t ReadBytes(const void* source, size_t size, int8_t* bytes) {
  const size_t length = std::min(size, kModelRoom);
  std::memcpy(bytes, source, length);
  return static_cast<int64_t>(length);
}

}  // namespace

const Model* ModelOf(const vask_model* given) { return given != nullptr ? &given->model : BuiltInModel(); }

vask_model* OpenModel(const void* source, size_t size, ModelSource read, int32_t* reason) {
  int32_t found = VASK_MODEL_NO_FILE;
  vask_model* opened = nullptr;
  if (source != nullptr) {
    opened = NewZeroed<vask_model>(1);
    found = opened != nullptr ? Open(source, size, read, *opened) : VASK_MODEL_NO_MEMORY;
  }
  if (found != VASK_MODEL_OK) {
    vask_model_close(opened);
    opened = nullptr;
  }
  if (reason != nullptr) *reason = found;
  return opened;
}

}  // namespace vask

extern "C" {

vask_model* vask_model_read(const void* bytes, uint32_t size, int32_t* reason) {
  return vask::OpenModel(bytes, size, vask::ReadBytes, reason);
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
