// A file that is read forwards. It may be a pipe, whose bytes arrive when its writer likes.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vask::command {

// What a signal is to the one who reads: the end of the run, or only that of the file.
enum class AtSignal { kThrow, kEnd };

class InputFile {
 public:
  // A file's name, or "-" for standard input. Throws FileError.
  explicit InputFile(const std::string& path, AtSignal at_signal = AtSignal::kThrow);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Waits for bytes and gives how many are there; 0 at the end. Throws FileError, Interruption.
  size_t ReadSome(std::span<uint8_t> out);
  // Fills `out` unless the file ends before.
  size_t Read(std::span<uint8_t> out);

  const std::string& name() const { return name_; }  // for messages
  int fd() const { return fd_; }

 private:
  std::string name_;
  AtSignal at_signal_;
  int fd_;
};

// All of a file of text, without the byte order mark that some editors put in front. Throws as InputFile.
std::string ReadText(const std::string& path);

}  // namespace vask::command
