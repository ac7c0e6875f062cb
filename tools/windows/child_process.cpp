// files/child_process.h for Windows, where no other program is started.
#include "files/child_process.h"

#include <utility>

#include "terminal/errors.h"

namespace vask::command {

std::optional<ChildProcess> ChildProcess::Start(const std::string& name,
                                                const std::vector<std::string>& command, int /*input*/) {
  throw FileError(name, "cannot be read here: the command for Windows does not start " + command[0],
                  "convert it to WAV or FLAC");
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept : failed_(other.failed_) {}

ChildProcess::~ChildProcess() = default;

int ChildProcess::TakeOutput() { return std::exchange(output_, -1); }

void ChildProcess::Wait() { id_ = -1; }

std::string ChildProcess::Errors() const { return ""; }

}  // namespace vask::command
