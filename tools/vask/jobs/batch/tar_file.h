// A tar archive (POSIX.1-1988, ustar) that grows by files and can be gone on with.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vask::command {

// Written as NAME.part until it is finished. Every failure is a FatalError.
class TarFile {
 public:
  // Goes on behind the first `kept` files of what an earlier run has left of it, finished or not.
  TarFile(std::string name, int64_t kept);
  ~TarFile();
  TarFile(const TarFile&) = delete;
  TarFile& operator=(const TarFile&) = delete;

  void Add(const std::string& name, std::string_view bytes);  // the name has at most 100 bytes
  void Finish();

 private:
  void Skip(int64_t files);
  void Write(std::string_view bytes);
  [[noreturn]] void Fail() const;

  std::string name_, part_;
  int fd_ = -1;
};

}  // namespace vask::command
