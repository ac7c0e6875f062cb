#include "engine_session.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vask/engine.h>
#include <vask/settings.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "errors.h"

namespace vask::command {
namespace {

constexpr size_t kLargestOutput = 20000;  // samples for one frame
constexpr size_t kLongestComplaint = 4096;

// Points descriptors 1 and 2 to another file for as long as it lives. The library writes its messages with C
// stdio; flushing on both sides keeps its text and ours apart.
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

  // The library ends the process, with status 0, when it has no memory for one of its histories. That is no
  // success, and it must not be silent.
  static void ReportExit() {
    if (current == nullptr) return;
    current->PutBack();
    std::fputs("vask: out of memory: end other programs or use a larger machine\n", stderr);
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

template <typename Call>
void EngineSession::Quietly(const Call& call) {
  {
    const StreamsTo caught(catcher_);
    call();
  }
  if (lseek(catcher_, 0, SEEK_CUR) == 0) return;  // not a word
  const std::string complaint = TakeComplaint();
  if (!complaint.empty()) throw FatalError(complaint);
}

EngineSession::EngineSession(Mode mode, const EngineOptions& options)
    : mode_(mode), catcher_(memfd_create("vask", MFD_CLOEXEC)), out_(kLargestOutput) {
  if (catcher_ < 0) throw FatalError(std::string("cannot start the engine: ") + std::strerror(errno));
  static const bool watched = std::atexit(StreamsTo::ReportExit) == 0;
  static_cast<void>(watched);
  try {
    Quietly([&] {
      Vask_epd_set_option(1, options.device);
      Vask_epd_set_option(2, options.os);
      if (!options.config_dir.empty()) __check_Vask_Config__(options.config_dir.c_str());
      const char* dir = options.config_dir.empty() ? "." : options.config_dir.c_str();
      if (Vask_epd_init(dir, static_cast<int32_t>(mode)) != 1) std::puts("ERROR: the engine does not start");
    });
  } catch (...) {
    Vask_epd_stop();
    close(catcher_);
    throw;
  }
}

EngineSession::~EngineSession() {
  {
    const StreamsTo caught(catcher_);
    Vask_epd_stop();
  }
  close(catcher_);
}

EngineSession::Step EngineSession::Feed(Frame frame) {
  int32_t answer = 0, count = 0;
  const auto process = mode_ == Mode::kEnhance ? Vask_epd_speechenhance : Vask_epd_frames;
  Quietly([&] { answer = process(frame.data(), kFrameSamples, out_.data(), &count); });
  return {static_cast<Answer>(answer), std::span(out_).first(static_cast<size_t>(count > 0 ? count : 0))};
}

void EngineSession::WrapUp() {
  int32_t count = 0;
  Quietly([&] { Vask_epd_wrapup(nullptr, &count); });
}

// The first line that is more than information; empties the catcher.
std::string EngineSession::TakeComplaint() {
  std::string text(kLongestComplaint, '\0');
  const ssize_t n = pread(catcher_, text.data(), text.size(), 0);
  text.resize(static_cast<size_t>(n > 0 ? n : 0));
  // The catcher lives in memory: emptying it does not fail.
  static_cast<void>(ftruncate(catcher_, 0));
  lseek(catcher_, 0, SEEK_SET);

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
