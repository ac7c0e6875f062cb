#include "terminal/signals.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "terminal/errors.h"

namespace vask::command {
namespace {

std::atomic<int> noted_signal = 0;
static_assert(std::atomic<int>::is_always_lock_free);  // a signal handler writes it

// The handler writes a byte to this pipe, which is never read: everything that polls it from then on wakes.
int wake_reader = -1, wake_writer = -1;

void Wake() {
  const int error = errno;
  [[maybe_unused]] const ssize_t written =
      write(wake_writer, "", 1);  // one byte is enough, so it may be full
  errno = error;
}

void Note(int signal) {
  noted_signal = signal;
  Wake();
}

// Polls `fds` and the wake pipe; returns whether the latter ended the wait.
template <size_t kCount>
bool PollUntilSignal(std::array<struct pollfd, kCount>& fds, int milliseconds = -1) {
  fds.back() = {wake_reader, POLLIN, 0};
  while (poll(fds.data(), fds.size(), milliseconds) < 0 && errno == EINTR) {
  }
  return fds.back().revents != 0;
}

}  // namespace

void CatchSignals() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
    throw FatalError(std::string("cannot start (") + std::strerror(errno) + "): close other programs");
  }
  wake_reader = ends[0];
  wake_writer = ends[1];
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    // What the parent process ignores (nohup) stays ignored.
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = Note;
    // Without SA_RESTART, so that a library that is waiting for a file gives up too.
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
}

bool SignalNoted() { return noted_signal != 0; }

void CheckSignals() {
  if (const int signal = noted_signal; signal != 0) throw Interruption{signal};
}

bool WaitToRead(int fd, int to) {
  std::array<struct pollfd, 3> fds = {{{fd, POLLIN, 0}, {to, 0, 0}, {}}};
  return !PollUntilSignal(fds) && fds[1].revents == 0;
}

bool WaitToWrite(int fd) {
  std::array<struct pollfd, 2> fds = {{{fd, POLLOUT, 0}, {}}};
  return !PollUntilSignal(fds) || fds[0].revents != 0;
}

bool WaitForSignal(int milliseconds) {
  std::array<struct pollfd, 1> fds;
  return PollUntilSignal(fds, milliseconds);
}

void EndWaits() { Wake(); }

void EndBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(128 + signal);  // only if the signal is blocked
}

}  // namespace vask::command
