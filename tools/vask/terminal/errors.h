// What may go wrong, in words for the user, and the reasons to stop at once.
#pragma once

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string>

#include "terminal/printable.h"

namespace vask::command {

constexpr const char* kOutOfMemory = "vask: out of memory: close other programs or use a larger machine\n";

// Exit statuses other than 0.
constexpr int kExitFailed = 1;  // at least one file; the others are done
constexpr int kExitUsage = 2;

// One line to standard error about what is worth knowing but no failure.
inline void Note(const std::string& text) { std::fprintf(stderr, "vask: %s\n", Printable(text).c_str()); }

// One file failed; the others go on. "FILE: what is wrong: remedy".
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& file, const std::string& wrong, const std::string& remedy)
      : std::runtime_error(Printable(file + ": " + wrong + ": " + remedy)) {}
};

// The arguments do not go together.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The run cannot continue: the engine does not start, standard output cannot be written.
class FatalError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The process ends by this signal once everything unfinished is cleaned up.
struct Interruption {
  int signal;
};

// After a failed write to standard output, while errno says why. A reader that has had enough is not an
// error.
[[noreturn]] inline void ThrowOutputError() {
  if (errno == EPIPE) throw Interruption{SIGPIPE};
  throw FatalError(std::string("standard output: cannot be written (") + std::strerror(errno) +
                   "): make room or write elsewhere");
}

}  // namespace vask::command
