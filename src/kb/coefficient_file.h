// Reader and writer of coefficient text files: decimal integers, one per line.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>

namespace vask {

// An open coefficient file. Numbers are separated by blanks of any kind and are read independently of the
// locale.
class CoefficientFile {
 public:
  // `path` must outlive the object.
  explicit CoefficientFile(const char* path);
  ~CoefficientFile() {
    if (file_ != nullptr) std::fclose(file_);
  }
  CoefficientFile(const CoefficientFile&) = delete;
  CoefficientFile& operator=(const CoefficientFile&) = delete;

  bool IsOpen() const { return file_ != nullptr; }

  // The next number; false at the end of the file, at text that is not a number and at a number beyond 32
  // bits.
  bool Read(int32_t& value);

  // The next numbers, all in low .. high. A failure is reported on the standard output with the file and the
  // line of the number, counted from 1.
  bool ReadInto(std::span<int32_t> values, int32_t low, int32_t high);

 private:
  int Next();
  bool Fail(const char* fault);

  const char* path_;
  FILE* file_;
  int32_t next_line_ = 1, line_ = 1;  // of the next character; of the number read last
  const char* fault_ = "";            // of the last failure
};

// Write a table, whole or not at all; it reads back identical.
bool WriteCoefficients(const char* path, std::span<const int32_t> values);

}  // namespace vask
