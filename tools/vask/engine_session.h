// The engine behind the C interface, started and stopped with this object, one frame at a time.
#ifndef TOOLS_VASK_ENGINE_SESSION_H_
#define TOOLS_VASK_ENGINE_SESSION_H_

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "format.h"
#include "messages.h"

namespace vask::command {

struct EngineOptions {
  int32_t device = 2;  // the library's own choice
  int32_t os = 2;
  std::string config_dir;  // holds config.Vask; empty: built-in settings
};

// The engine is one for the whole process, so there is one session at a time.
class EngineSession {
 public:
  enum class Mode : int32_t { kEnhance = 1, kDetect = 2 };  // the engine's numbers, as are the answers
  enum class Answer : int32_t { kGoOn = 0, kEnded = 1, kRestarted = 2 };
  struct Step {
    Answer answer;
    std::span<const int16_t> samples;  // valid until the next Feed()
  };

  // Longest folder name that the engine takes, in bytes.
  static constexpr size_t kMaxConfigDir = 118;

  // Throws FatalError with the engine's own words if it does not start.
  EngineSession(Mode mode, const EngineOptions& options);
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;

  Step Feed(Frame frame);  // a copy: the engine clips the frame in place
  void WrapUp();           // as new for the next utterance

 private:
  Mode mode_;
  MessageCatcher messages_;
  std::vector<int16_t> out_;  // as long as the engine asks for
};

}  // namespace vask::command

#endif  // TOOLS_VASK_ENGINE_SESSION_H_
