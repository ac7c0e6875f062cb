// libsndfile keeps why a file could not be opened in one place for all threads, so they open one at a time.
#pragma once

#include <mutex>

namespace vask::command {

inline std::mutex sndfile_lock;

}  // namespace vask::command
