// Reader of coefficient text files: decimal integers, one a line.
#pragma once

#include <cstdint>
#include <cstdio>

namespace vask {

// An open coefficient file. Numbers are read independently of the locale.
class CoefficientFile {
 public:
  explicit CoefficientFile(const char* path) : file_(std::fopen(path, "r")) {}
  ~CoefficientFile() {
    if (file_ != nullptr) std::fclose(file_);
  }
  CoefficientFile(const CoefficientFile&) = delete;
  CoefficientFile& operator=(const CoefficientFile&) = delete;

  bool IsOpen() const { return file_ != nullptr; }

  // The next number; false at the end of the file, at text that is no number and at one beyond 32 bits.
  bool Read(int32_t& value);

 private:
  FILE* file_;
};

}  // namespace vask
