// A temporary folder for the files of a test, deleted at its end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace vask::test {

struct Folder {
  std::string path = (std::filesystem::temp_directory_path() / "vask-test-XXXXXX").string();

  Folder() {
    if (mkdtemp(path.data()) == nullptr) std::abort();
  }
  ~Folder() { std::filesystem::remove_all(path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string operator/(const std::string& name) const { return path + "/" + name; }
  // The same folder under a name of this length.
  std::string Filled(size_t length) const { return path + std::string(length - path.size(), '/'); }
};

inline std::string ContentOf(const std::filesystem::path& name) {
  std::ifstream file(name, std::ios::binary);
  return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "no file";
}

}  // namespace vask::test
