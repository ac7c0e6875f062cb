// A recording that another program writes to its standard output.
#pragma once

#include <memory>
#include <string>

#include "sound/sound_source.h"

namespace vask::command {

// Runs `command` with a shell. A program that fails has delivered a damaged recording. Throws FileError,
// Interruption.
std::unique_ptr<SoundSource> OpenCommand(const std::string& command, const ReadOptions& options);

}  // namespace vask::command
