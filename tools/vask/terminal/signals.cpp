#include "terminal/signals.h"

#include <csignal>
#include <cstdlib>

#include "terminal/errors.h"

namespace vask::command {
namespace {

volatile std::sig_atomic_t noted_signal = 0;

void Note(int signal) { noted_signal = signal; }

}  // namespace

void CatchSignals() {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    struct sigaction action = {};
    // What the parent process ignores (nohup) stays ignored.
    if (sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = Note;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    sigaction(signal, &action, nullptr);
  }
  std::signal(SIGPIPE, SIG_IGN);
}

bool SignalNoted() { return noted_signal != 0; }

void CheckSignals() {
  if (noted_signal != 0) throw Interruption{noted_signal};
}

void EndBySignal(int signal) {
  std::signal(signal, SIG_DFL);
  std::raise(signal);
  std::_Exit(128 + signal);  // only if the signal is blocked
}

}  // namespace vask::command
