#include "library/messages.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kLongestComplaint = 4096;

// Redirects descriptors 1 and 2 to another file while it exists. The library writes its messages with C
// stdio; flushing before and after keeps its text and ours apart.
class StreamsTo {
 public:
  explicit StreamsTo(int fd) {
    Flush();
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      saved_[stream] = fcntl(stream, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
      dup2(fd, stream);
    }
    current = this;
  }
  ~StreamsTo() { PutBack(); }
  StreamsTo(const StreamsTo&) = delete;
  StreamsTo& operator=(const StreamsTo&) = delete;

  // The library ends the process, with status 0, when it cannot allocate one of its histories. That is not
  // success, and it must not be silent.
  static void ReportExit() {
    if (current == nullptr) return;
    current->PutBack();
    std::fputs("vask: out of memory: close other programs or use a larger machine\n", stderr);
    std::_Exit(1);
  }

 private:
  static void Flush() {
    std::fflush(stdout);
    std::fflush(stderr);
  }

  void PutBack() {
    Flush();
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
      dup2(saved_[stream], stream);
      close(saved_[stream]);
    }
    current = nullptr;
  }

  static StreamsTo* current;
  int saved_[STDERR_FILENO + 1] = {-1, -1, -1};
};

StreamsTo* StreamsTo::current = nullptr;

}  // namespace

MessageCatcher::MessageCatcher() : fd_(memfd_create("vask", MFD_CLOEXEC)) {
  if (fd_ < 0) throw FatalError(std::string("cannot start the engine: ") + std::strerror(errno));
  static const bool watched = std::atexit(StreamsTo::ReportExit) == 0;
  static_cast<void>(watched);
}

MessageCatcher::~MessageCatcher() { close(fd_); }

std::string MessageCatcher::Complaint(const std::function<void()>& call) {
  {
    const StreamsTo caught(fd_);
    call();
  }
  return lseek(fd_, 0, SEEK_CUR) == 0 ? "" : TakeComplaint();  // usually nothing was printed
}

void MessageCatcher::Run(const std::function<void()>& call) {
  const std::string complaint = Complaint(call);
  if (!complaint.empty()) throw FatalError(complaint);
}

// The first line that reports a fault, "" if none does; empties the catcher.
std::string MessageCatcher::TakeComplaint() {
  std::string text(kLongestComplaint, '\0');
  const ssize_t n = pread(fd_, text.data(), text.size(), 0);
  text.resize(static_cast<size_t>(n > 0 ? n : 0));
  // The file is in memory: emptying it does not fail.
  static_cast<void>(ftruncate(fd_, 0));
  lseek(fd_, 0, SEEK_SET);

  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("ERROR", 0) == 0 || line.rfind("WARNING", 0) == 0) return "the engine says " + line;
    if (line.find("(invalid value)") != std::string::npos) {
      return "config.Vask:" + line.substr(1) + ": give a number from 0 to 30";
    }
  }
  return "";
}

}  // namespace vask::command
