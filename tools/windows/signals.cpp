// terminal/signals.h for Windows: the console calls a function of ours on a thread of its own, and pipes are
// looked at every few milliseconds, since the system cannot wait for one.
#include "terminal/signals.h"

#include <fcntl.h>
#include <unistd.h>
#include <winternl.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "terminal/errors.h"
#include "windows/handles.h"

namespace vask::command {
namespace {

constexpr DWORD kLookAgain = 5;     // ms
constexpr DWORD kEndsAfter = 4000;  // ms; the system gives a closed console 5 s
constexpr ULONG kNobodyReads = 4;   // FILE_PIPE_CLOSING_STATE

std::atomic<int> noted_signal = 0;
HANDLE noted = nullptr;  // an event that is set with it, and where all waits end

BOOL WINAPI NoteEvent(DWORD event) {
  const bool asks = event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
  if (noted_signal.exchange(asks ? SIGINT : SIGTERM) != 0 && asks) return FALSE;  // the second one is obeyed
  SetEvent(noted);
  if (!asks) Sleep(kEndsAfter);  // the process ends when this function does
  return TRUE;
}

// As the system describes a pipe, in a header that belongs to drivers.
struct PipeState {
  ULONG type, configuration, most, now, inbound, readable, outbound, writable, state, end;
};

bool HasReader(int fd) {
  PipeState state = {};
  IO_STATUS_BLOCK result;
  constexpr auto kPipeLocal = static_cast<FILE_INFORMATION_CLASS>(24);
  return NtQueryInformationFile(HandleOf(fd), &result, &state, sizeof state, kPipeLocal) < 0 ||
         state.state != kNobodyReads;
}

}  // namespace

void CatchSignals() {
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) _setmode(fd, _O_BINARY);
  noted = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (noted == nullptr) throw FatalError("cannot start: close other programs");
  SetConsoleCtrlHandler(NoteEvent, TRUE);
}

bool SignalNoted() { return noted_signal != 0; }

void CheckSignals() {
  if (const int signal = noted_signal; signal != 0) throw Interruption{signal};
}

bool WaitToRead(int fd, int to) {
  const HANDLE source = HandleOf(fd);
  DWORD mode = 0, ready = 0;
  if (GetFileType(source) == FILE_TYPE_PIPE) {
    while (PeekNamedPipe(source, nullptr, 0, nullptr, &ready, nullptr) != 0 && ready == 0) {
      if (WaitForSignal(kLookAgain) || (to >= 0 && !HasReader(to))) return false;
    }
  } else if (GetConsoleMode(source, &mode) != 0) {
    const HANDLE either[] = {noted, source};
    WaitForMultipleObjects(2, either, FALSE, INFINITE);
  }
  return !WaitForSignal(0) && (to < 0 || HasReader(to));
}

bool WaitToWrite(int /*fd*/) { return true; }

bool WaitForSignal(int milliseconds) {
  return WaitForSingleObject(noted, static_cast<DWORD>(milliseconds)) == WAIT_OBJECT_0;
}

void EndWaits() { SetEvent(noted); }

// A shell sees the status that it sees elsewhere.
void EndBySignal(int signal) {
  std::fflush(nullptr);
  std::_Exit(128 + signal);
}

}  // namespace vask::command
