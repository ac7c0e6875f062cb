#include "files/child_process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr size_t kMostErrors = 1 << 16;  // bytes

// What a child does between the fork and the program.
class Actions {
 public:
  Actions(int input, int output, int errors) {
    posix_spawn_file_actions_init(&files_);
    if (input < 0) {
      posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    } else {
      posix_spawn_file_actions_adddup2(&files_, input, STDIN_FILENO);
    }
    posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files_, errors, STDERR_FILENO);
    // This process ignores it, and the program would too.
    sigset_t usual;
    sigemptyset(&usual);
    sigaddset(&usual, SIGPIPE);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigdefault(&attributes_, &usual);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF);
  }
  ~Actions() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  Actions(const Actions&) = delete;
  Actions& operator=(const Actions&) = delete;

  const posix_spawn_file_actions_t* files() const { return &files_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

}  // namespace

std::optional<ChildProcess> ChildProcess::Start(const std::string& name,
                                                const std::vector<std::string>& command, int input) {
  ChildProcess child;
  int ends[2] = {-1, -1};
  // In memory, since a pipe that nobody reads would stop the program once it is full.
  child.errors_ = memfd_create("errors", MFD_CLOEXEC);
  int error = child.errors_ < 0 || pipe2(ends, O_CLOEXEC) != 0 ? errno : 0;
  child.output_ = ends[0];
  if (error == 0) {
    const Actions actions(input, ends[1], child.errors_);
    std::vector<std::string> words = command;
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    error = posix_spawnp(&child.id_, pointers[0], actions.files(), actions.attributes(), pointers.data(),
                         environ);
    if (error != 0) child.id_ = -1;
    close(ends[1]);
  }
  if (error == ENOENT || error == EACCES) return std::nullopt;
  if (error != 0) {
    throw FileError(name, command[0] + " cannot be started (" + std::strerror(error) + ")",
                    "close other programs");
  }
  return child;
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : id_(std::exchange(other.id_, -1)),
      output_(std::exchange(other.output_, -1)),
      errors_(std::exchange(other.errors_, -1)),
      failed_(other.failed_) {}

ChildProcess::~ChildProcess() {
  if (id_ > 0) kill(id_, SIGKILL);
  Wait();
  if (output_ >= 0) close(output_);
  if (errors_ >= 0) close(errors_);
}

int ChildProcess::TakeOutput() { return std::exchange(output_, -1); }

void ChildProcess::Wait() {
  int status = 0;
  while (id_ > 0 && waitpid(id_, &status, 0) < 0 && errno == EINTR) {
  }
  if (id_ > 0) failed_ = !WIFEXITED(status) || WEXITSTATUS(status) != 0;
  id_ = -1;
}

std::string ChildProcess::Errors() const {
  std::string text(kMostErrors, '\0');
  const ssize_t n = pread(errors_, text.data(), text.size(), 0);
  text.resize(static_cast<size_t>(std::max<ssize_t>(n, 0)));
  return text;
}

}  // namespace vask::command
