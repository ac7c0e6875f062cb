// Everything that changes what is found, as text: two runs with the same find the same.
#pragma once

#include <string>

#include "listen/listen_options.h"
#include "sound/sound_input.h"

namespace vask::command {

std::string SettingsText(const ListenOptions& options, const ReadOptions& reading, const ListenSetup& listen);

}  // namespace vask::command
