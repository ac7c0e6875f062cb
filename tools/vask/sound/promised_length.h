// What the header of a sound file says that it holds. libsndfile does not tell: it counts what is there.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <string>

namespace vask::command {

// The frames that the header of a regular file promises, where libsndfile has found `info` in it; 0 if it
// does not say.
int64_t PromisedFrames(const std::string& path, const SF_INFO& info);

}  // namespace vask::command
