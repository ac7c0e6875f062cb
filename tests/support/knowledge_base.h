// A knowledge base in a temporary folder.
#pragma once

#include <gtest/gtest.h>
#include <vask/engine.h>
#include <vask/settings.h>

#include <fstream>
#include <string>

#include "support/capture.h"
#include "support/folder.h"
#include "support/inputs.h"

namespace vask::test {

namespace fs = std::filesystem;

class KnowledgeBase {
 public:
  // Holds the built-in tables and becomes the library's base directory.
  KnowledgeBase() {
    EXPECT_EQ(vask_make_coeff_files(folder_.path.c_str()), 1);
    Hear([&] { Vask_epd_set_base_dir(folder_.path.c_str()); });
  }

  fs::path dir() const { return folder_.path; }
  fs::path Table(const std::string& name) const { return dir() / "Vask.db" / name; }

  void Write(const std::string& name, const std::string& text) const {
    fs::remove_all(Table(name));
    std::ofstream(Table(name), std::ios::binary) << text;
  }

  std::string Read(const std::string& name) const { return ContentOf(Table(name)); }

 private:
  Folder folder_;
};

}  // namespace vask::test
