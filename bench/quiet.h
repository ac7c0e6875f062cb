// Silences the error stream for a while: the engine and the SpeexDSP preprocessor write messages to it.
#pragma once

#include <fcntl.h>
#include <unistd.h>

namespace vask::bench {

class Quiet {
 public:
  Quiet() : kept_(dup(STDERR_FILENO)) {
    const int nowhere = open("/dev/null", O_WRONLY);
    dup2(nowhere, STDERR_FILENO);
    close(nowhere);
  }
  ~Quiet() {
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  Quiet(const Quiet&) = delete;
  Quiet& operator=(const Quiet&) = delete;

 private:
  int kept_;
};

}  // namespace vask::bench
