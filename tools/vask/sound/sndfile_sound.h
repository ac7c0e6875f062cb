// A recording read through libsndfile.
#pragma once

#include <memory>
#include <string>

#include "sound/relay.h"
#include "sound/sound_source.h"

namespace vask::command {

struct SndfileResult {
  std::unique_ptr<SoundSource> sound;  // null if libsndfile does not know it
  bool empty;                          // by its header
  std::string unknown;                 // why it does not know it
};

// A regular file of that name, or what comes through `relay`. Throws FileError, Interruption.
SndfileResult OpenSndfile(const std::string& name, std::unique_ptr<Relay> relay = nullptr);

}  // namespace vask::command
