#include "process/turn.h"

namespace vask {

pthread_mutex_t& TurnsAtTheStream() {
  static constinit pthread_mutex_t turns = PTHREAD_MUTEX_INITIALIZER;
  return turns;
}

pthread_mutex_t& TurnsAtTheFile() {
  static constinit pthread_mutex_t turns = PTHREAD_MUTEX_INITIALIZER;
  return turns;
}

}  // namespace vask
