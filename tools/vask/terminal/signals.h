// Ctrl-C and the like, noticed between two blocks of audio and wherever the command waits for another
// process, so that no unfinished file is left.
#pragma once

namespace vask::command {

// From here on SIGINT, SIGTERM and SIGHUP are noted instead of obeyed (the second one is obeyed), and writing
// to a closed pipe is an error code instead of a signal. Throws FatalError.
void CatchSignals();

// Whether one has been noted.
bool SignalNoted();

// Throws Interruption if a signal has been noted.
void CheckSignals();

// Every wait below ends at a signal, on whichever thread it arrives, even if it came before the wait began.

// Waits for something to read, or the end. False at a signal, or once nobody reads the pipe `to`.
bool WaitToRead(int fd, int to = -1);
// Waits for room to write. False at a signal while there is none.
bool WaitToWrite(int fd);
// True at a signal, false after that many milliseconds.
bool WaitForSignal(int milliseconds);

// Ends every wait from here on, as a signal does: the run is over.
void EndWaits();

// Ends the process by `signal`, as if it had never been caught.
[[noreturn]] void EndBySignal(int signal);

}  // namespace vask::command
