// The handle of a model that the application gave.
#pragma once

#include <cstddef>

#include "gate/model.h"

struct vask_model {
  vask::Model model;
  int8_t* bytes;  // its file
};

namespace vask {

// Up to kMostModelBytes and one more of what is read into `bytes`: a longer model is seen to be longer.
// Returns the number of bytes; below 0: minus the reason why not.
using ModelSource = int64_t (*)(const void* source, size_t size, int8_t* bytes);

// Null, and the reason in `reason`, if it is refused. `source` is null where there is none.
vask_model* OpenModel(const void* source, size_t size, ModelSource read, int32_t* reason);

inline constexpr size_t kModelRoom = kMostModelBytes + 1;

}  // namespace vask
