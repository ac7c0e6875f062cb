// Another program, whose standard output is read through a pipe.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace vask::command {

class ChildProcess {
 public:
  // Looks for command[0] in PATH; no shell is involved. Its standard input is `input`, or nothing if that is
  // -1. nullopt if there is no such program. Throws FileError about `name`, the file that it is to read.
  static std::optional<ChildProcess> Start(const std::string& name, const std::vector<std::string>& command,
                                           int input);
  ~ChildProcess();  // ends it
  ChildProcess(ChildProcess&& other) noexcept;
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  int TakeOutput();  // the pipe, once; the caller closes it
  void Wait();       // until it has ended by itself, which it does once its output is closed or read
  bool failed() const { return failed_; }
  std::string Errors() const;  // what it has written to standard error

 private:
  ChildProcess() = default;

  pid_t id_ = -1;  // -1: it has ended
  int output_ = -1, errors_ = -1;
  bool failed_ = false;
};

}  // namespace vask::command
