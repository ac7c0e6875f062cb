// How the files of a recording are named in DIR: by its own name, not by its place among the others.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "sound/sound_input.h"

namespace vask::command {

// The absolute path of an input, "-" for standard input, with the channel if one is chosen: two inputs with
// the same path are one recording.
std::string PathOf(const SoundInput& input);

// The BASE of DIR/BASE-001.wav for the path of each input: its name without the extension, and _chN for a
// channel; if several have the same, followed by _ and the name of the folder; if that is not enough,
// followed by a hash of the path. Those in `kept` have theirs already, and no other gets it.
std::map<std::string, std::string> BasesOf(const std::vector<SoundInput>& inputs,
                                           std::map<std::string, std::string> kept = {});

}  // namespace vask::command
