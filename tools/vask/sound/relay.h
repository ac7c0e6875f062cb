// A pipe for a library that waits without an eye on signals: a thread fills it from the file that is to be
// read, and a signal, noticed there, is its end.
#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <thread>
#include <vector>

#include "files/input_file.h"

namespace vask::command {

class Relay {
 public:
  // `first` are bytes that have been read from `input` already. Throws FileError.
  Relay(std::unique_ptr<InputFile> input, std::vector<uint8_t> first);
  ~Relay();
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;

  int fd() const { return reader_; }  // to read from
  // After its end has been read: throws what went wrong with the input, if anything, or Interruption.
  void CheckEnd();

 private:
  void Run(const std::vector<uint8_t>& first);

  std::unique_ptr<InputFile> input_;
  int reader_ = -1, writer_ = -1;
  std::exception_ptr failure_;  // complete once it is over
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

}  // namespace vask::command
