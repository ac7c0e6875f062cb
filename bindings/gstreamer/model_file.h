// A model of the learned detector from a file.
#pragma once

#include <vask/model.h>

#include <memory>
#include <string>

namespace vask::gst {

class ModelFile {
 public:
  // Reads the file; an empty path is the built-in model. False: it is none, and complaint() says why.
  bool Open(const std::string& path);
  // Null: the built-in one.
  const vask_model* get() const { return model_.get(); }
  const std::string& complaint() const { return complaint_; }

 private:
  struct Close {
    void operator()(vask_model* model) const { vask_model_close(model); }
  };

  std::unique_ptr<vask_model, Close> model_;
  std::string complaint_;
};

}  // namespace vask::gst
