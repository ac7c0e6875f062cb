// --summary: what a run has read and found, in one line.
#pragma once

#include <chrono>
#include <mutex>
#include <string>

#include "listing/listing.h"

namespace vask::command {

// Safe to call from any thread.
class Summary {
 public:
  enum class Source { kHeard, kJournal };  // the recording, or what an earlier run noted

  void Add(const Recording& recording, Source source);
  void AddFailed();  // one that was not read, or not to its end

  // Such as "3 recordings, 1 failed, 61.0 min, 12.5 min of speech (20 %), 210 utterances, 95 times real
  // time"; the speed is that of what was heard since the start.
  std::string Line() const;

 private:
  mutable std::mutex mutex_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  int64_t files_ = 0, failed_ = 0, utterances_ = 0;
  double seconds_ = 0, speech_ = 0, heard_ = 0;  // s
};

}  // namespace vask::command
