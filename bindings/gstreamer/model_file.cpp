#include "model_file.h"

#include <glib.h>

#include <algorithm>
#include <cstdint>

namespace vask::gst {
namespace {

constexpr gsize kMostBytes = G_MAXINT32;  // far more than any model has

const char* Said(int32_t reason) {
  switch (reason) {
    case VASK_MODEL_NO_FILE:
      return "it cannot be read";
    case VASK_MODEL_NOT_ONE:
      return "it is not a model of a version that is known";
    case VASK_MODEL_DAMAGED:
      return "it is damaged";
    case VASK_MODEL_TOO_LARGE:
      return "it is too large";
    default:
      return "there is no memory for it";
  }
}

}  // namespace

bool ModelFile::Open(const std::string& path) {
  model_.reset();
  if (path.empty()) return true;
  int32_t reason = VASK_MODEL_NO_FILE;
  char* contents = nullptr;
  gsize size = 0;
  if (g_file_get_contents(path.c_str(), &contents, &size, nullptr)) {
    model_.reset(
        vask_model_read(contents, static_cast<uint32_t>(std::min<gsize>(size, kMostBytes)), &reason));
    g_free(contents);
  }
  if (model_ == nullptr) complaint_ = path + ": " + Said(reason) + "; training/make.sh makes models";
  return model_ != nullptr;
}

}  // namespace vask::gst
