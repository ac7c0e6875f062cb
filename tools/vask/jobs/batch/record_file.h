// FILE of `vask batch -o FILE`: written as FILE.part, which is renamed once all lines have their record. What
// is no regular file, such as a FIFO or a device, is written in place.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace vask::command {

// Locked against other runs. Every failure is a FatalError.
class RecordFile {
 public:
  RecordFile(const std::string& name, bool resume);
  ~RecordFile();
  RecordFile(const RecordFile&) = delete;
  RecordFile& operator=(const RecordFile&) = delete;

  // With `resume`: an earlier run has finished it.
  bool is_finished() const { return is_finished_; }

  // The next line that an earlier run has written; none once all are read. One that is torn is not counted.
  std::optional<std::string> Old();

  // The first drops what has not been read as Old().
  void Append(const std::string& lines);
  void Finish();

 private:
  void Open(bool resume);
  void Lock();
  [[noreturn]] void Fail() const;

  std::string name_, part_;
  int fd_ = -1;
  bool is_finished_ = false, is_in_place_ = false;
  std::string block_;  // read
  size_t begin_ = 0;   // of what of it is not given as Old() yet
  int64_t read_ = 0;   // of the file, bytes
  int64_t kept_ = 0;   // bytes of complete lines
  bool is_appending_ = false;
};

}  // namespace vask::command
