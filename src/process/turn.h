// Turns at using the objects of the process, for callers in several threads: Java's. The C interface takes
// none.
#pragma once

#include <pthread.h>

namespace vask {

pthread_mutex_t& TurnsAtTheStream();  // engine, front end, ADPCM states, settings
pthread_mutex_t& TurnsAtTheFile();    // a lock of its own, since reading from a pipe may block for long

// Waits for its turn, which lasts as long as this lives.
class Turn {
 public:
  explicit Turn(pthread_mutex_t& turns) : turns_(turns) { pthread_mutex_lock(&turns_); }
  ~Turn() { pthread_mutex_unlock(&turns_); }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  pthread_mutex_t& turns_;
};

}  // namespace vask
