// The length that the header of a sound file promises. libsndfile does not report it: it counts what is
// there.
#pragma once

#include <sndfile.h>

#include <cstdint>
#include <string>

namespace vask::command {

// The frames that the header of a regular file promises, given the `info` that libsndfile found in it; 0 if
// it does not say.
int64_t PromisedFrames(const std::string& path, const SF_INFO& info);

}  // namespace vask::command
