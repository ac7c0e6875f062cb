// The hidden file in DIR that records what `vask detect -o DIR` has done, and keeps two runs apart.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace vask::command {

// Lines of text after a header that names the run that has the file locked. Throws FatalError if it cannot be
// opened or locked, FileError if it cannot be read or written.
class LedgerFile {
 public:
  struct Place {
    int64_t at = 0;
    size_t length = 0;
  };

  // Creates the file, or waits until no other run has it locked; with `wait` false throws instead. A signal
  // ends the wait.
  LedgerFile(const std::string& folder, size_t recordings, bool wait);
  ~LedgerFile();
  LedgerFile(const LedgerFile&) = delete;
  LedgerFile& operator=(const LedgerFile&) = delete;

  // Passes each complete line to `call`. Must come before anything is appended.
  void ReadLines(const std::function<void(Place, const std::string&)>& call);
  bool has_head() const { return has_head_; }  // false: an earlier version wrote the file
  std::string Line(Place place) const;         // shorter if the file was truncated

  Place Append(const std::string& line);  // whole or not at all
  void Sync() const;                      // flushes what was appended to the disk
  void Replace(const std::string& lines);

 private:
  void Open();
  void Hold(bool wait);
  std::string Holder() const;
  std::string Head() const;
  size_t ReadAt(int64_t at, std::span<char> out) const;
  [[noreturn]] void ThrowUnwritable() const;

  std::string name_;
  std::string folder_;
  size_t recordings_;
  int fd_ = -1;
  int64_t end_ = 0;  // of the last complete line
  bool has_head_ = false;
  bool told_ = false;
};

}  // namespace vask::command
