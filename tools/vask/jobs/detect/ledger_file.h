// The hidden file in DIR that holds what `vask detect -o DIR` knows, and that keeps two runs apart.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vask::command {

// Lines of text behind a head that names the run which holds the file. Errors are FatalErrors where it cannot
// be opened or held, FileErrors where it cannot be written.
class LedgerFile {
 public:
  struct Place {
    int64_t at = 0;
    size_t length = 0;
  };

  // Makes the file, or waits until no other run holds it; with `wait` false an error instead. A signal ends
  // the waiting.
  LedgerFile(const std::string& folder, size_t recordings, bool wait);
  ~LedgerFile();
  LedgerFile(const LedgerFile&) = delete;
  LedgerFile& operator=(const LedgerFile&) = delete;

  // Gives each whole line to `call`; before anything is appended.
  void ReadLines(const std::function<void(Place, const std::string&)>& call);
  bool has_head() const { return has_head_; }  // false: an earlier version wrote the file
  std::string Line(Place place) const;         // shorter if the file has been cut

  Place Append(const std::string& line);  // whole or not at all
  void Sync() const;                      // what is appended, to the disk
  void Replace(const std::string& lines);

 private:
  void Open();
  void Hold(bool wait);
  std::string Holder() const;
  std::string Head() const;
  [[noreturn]] void ThrowUnwritable() const;

  std::string name_;
  std::string folder_;
  size_t recordings_;
  int fd_ = -1;
  int64_t end_ = 0;  // of the last whole line
  bool has_head_ = false;
  bool told_ = false;
};

}  // namespace vask::command
