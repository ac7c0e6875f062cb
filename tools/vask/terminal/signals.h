// Ctrl-C and its like, noticed between two blocks of audio so that no unfinished file is left behind.
#pragma once

namespace vask::command {

// From here on SIGINT, SIGTERM and SIGHUP are noted instead of obeyed (the second one is obeyed), and writing
// to a closed pipe is an error code instead of a signal.
void CatchSignals();

// Whether one has been noted.
bool SignalNoted();

// Throws Interruption if a signal has been noted.
void CheckSignals();

// Ends the process by `signal`, as if it had never been caught.
[[noreturn]] void EndBySignal(int signal);

}  // namespace vask::command
