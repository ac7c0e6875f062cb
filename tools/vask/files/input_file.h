// A file that is read sequentially. It may be a pipe, whose bytes arrive at any time.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace vask::command {

// What a signal means to the reader: the end of the run, or only that of the file.
enum class AtSignal { kThrow, kEnd };

class InputFile {
 public:
  // A file's name, or "-" for standard input. Throws FileError.
  explicit InputFile(const std::string& path, AtSignal at_signal = AtSignal::kThrow);
  // What is open already, and is closed with it.
  InputFile(std::string name, int fd, AtSignal at_signal);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Waits for bytes and returns how many were read; 0 at the end. Throws FileError, Interruption.
  size_t ReadSome(std::span<uint8_t> out);
  // Fills `out` unless the file ends first.
  size_t Read(std::span<uint8_t> out);

  const std::string& name() const { return name_; }  // for messages
  int fd() const { return fd_; }
  AtSignal at_signal() const { return at_signal_; }

 private:
  std::string name_;
  AtSignal at_signal_;
  int fd_;
};

// The whole of a text file, without the byte order mark that some editors put first. Throws as InputFile.
std::string ReadText(const std::string& path);

}  // namespace vask::command
