// A pipe for a library that pays no attention to signals while it waits: a thread fills it from the file to
// be read, notices signals, and ends it at one.
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
  bool ends_at_signal() const { return input_->at_signal() == AtSignal::kEnd; }
  // After its end has been read: throws what went wrong with the input, if anything, or Interruption
  // unless a signal only ends it.
  void CheckEnd();

 private:
  void Run(const std::vector<uint8_t>& first);

  std::unique_ptr<InputFile> input_;
  int reader_ = -1, writer_ = -1;
  std::exception_ptr failure_;  // complete once over_ is set
  std::atomic<bool> over_ = false;
  std::thread thread_;
};

}  // namespace vask::command
