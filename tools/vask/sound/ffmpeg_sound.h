// A recording that libsndfile does not know, or would have to go back in: read through the program ffmpeg.
#pragma once

#include <memory>
#include <string>

#include "sound/relay.h"
#include "sound/sound_source.h"

namespace vask::command {

// A file of that name, or what comes through `relay`. `unknown`: why it is not read otherwise, for the
// message where there is no ffmpeg. Throws FileError, Interruption.
std::unique_ptr<SoundSource> OpenByFfmpeg(const std::string& name, const std::string& unknown,
                                          std::unique_ptr<Relay> relay = nullptr);

}  // namespace vask::command
