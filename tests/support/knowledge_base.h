// A knowledge base in a folder of its own, and what the library prints while it is read.
#ifndef TESTS_SUPPORT_KNOWLEDGE_BASE_H_
#define TESTS_SUPPORT_KNOWLEDGE_BASE_H_

#include <gtest/gtest.h>
#include <vask/engine.h>
#include <vask/settings.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vask::test {

namespace fs = std::filesystem;

class KnowledgeBase {
 public:
  // With the built-in tables; the library's base directory is in it.
  KnowledgeBase() {
    std::string name = (fs::temp_directory_path() / "vask-kb-XXXXXX").string();
    EXPECT_NE(mkdtemp(name.data()), nullptr);
    dir_ = name;
    EXPECT_EQ(vask_make_coeff_files(name.c_str()), 1);
    testing::internal::CaptureStderr();
    Vask_epd_set_base_dir(name.c_str());
    testing::internal::GetCapturedStderr();
  }
  ~KnowledgeBase() { fs::remove_all(dir_); }
  KnowledgeBase(const KnowledgeBase&) = delete;
  KnowledgeBase& operator=(const KnowledgeBase&) = delete;

  fs::path dir() const { return dir_; }
  fs::path Table(const std::string& name) const { return dir_ / "Vask.db" / name; }

  void Write(const std::string& name, const std::string& text) const {
    fs::remove_all(Table(name));
    std::ofstream(Table(name), std::ios::binary) << text;
  }

  std::string Read(const std::string& name) const {
    std::ifstream file(Table(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  fs::path dir_;
};

// What `call` writes to standard output.
template <typename Call>
std::string Printed(const Call& call) {
  testing::internal::CaptureStdout();
  call();
  return testing::internal::GetCapturedStdout();
}

}  // namespace vask::test

#endif  // TESTS_SUPPORT_KNOWLEDGE_BASE_H_
