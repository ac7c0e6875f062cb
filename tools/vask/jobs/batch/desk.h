// Where the reader of the manifest, the threads that listen and the output meet.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "files/json_text.h"
#include "jobs/batch/clips.h"
#include "jobs/batch/manifest.h"

namespace vask::command {

struct Result {
  Json record;
  std::vector<Clip> clips;
};

// Holds at most kWindow lines that are not written yet, so memory does not grow with the manifest.
class Desk {
 public:
  static constexpr uint64_t kWindow = 1024;

  struct Stopped {};  // thrown to the threads that must give up

  // `write` is called by one thread at a time; in the order of the lines, or with `unordered` as they are
  // done.
  using Write = std::function<void(Result)>;
  Desk(bool unordered, Write write) : unordered_(unordered), write_(std::move(write)) {}

  // The reader: waits for room.
  void Put(Item item);
  void Close();  // no more will come

  // A listening thread: waits for lines; all that are there of the recording of the first one. None: it is
  // over.
  std::vector<Item> Take();
  void Done(uint64_t number, Result result);

  void Stop(std::exception_ptr failure);  // the first counts
  void ThrowIfStopped();                  // Stopped
  void ThrowFailure();                    // the one of Stop(), if any

 private:
  bool unordered_;
  Write write_;
  std::mutex mutex_;
  std::condition_variable room_, work_;
  std::deque<Item> waiting_;
  std::map<uint64_t, Result> held_back_;
  uint64_t put_ = 0, written_ = 0;  // lines
  bool closed_ = false, stopped_ = false;
  std::exception_ptr failure_;
};

}  // namespace vask::command
