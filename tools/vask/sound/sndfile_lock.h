// libsndfile keeps why a file could not be opened in one place for all threads: they open one after another.
#ifndef TOOLS_VASK_SOUND_SNDFILE_LOCK_H_
#define TOOLS_VASK_SOUND_SNDFILE_LOCK_H_

#include <mutex>

namespace vask::command {

inline std::mutex sndfile_lock;

}  // namespace vask::command

#endif  // TOOLS_VASK_SOUND_SNDFILE_LOCK_H_
