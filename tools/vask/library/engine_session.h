// The engine behind the C interface in its mode 1, started and stopped with this object, one frame at a time:
// the environment check listens to it, and it reads config.Vask.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format.h"
#include "library/messages.h"

namespace vask::command {

struct EngineOptions {
  int32_t device = 2;  // the library's own choice
  int32_t os = 2;
  std::string config_dir;  // holds config.Vask; empty: built-in settings

  std::string ConfigFile() const { return config_dir.empty() ? "" : config_dir + "/config.Vask"; }
};

// The engine is one for the whole process, so there is one session at a time.
class EngineSession {
 public:
  // Longest folder name that the engine takes, in bytes.
  static constexpr size_t kMaxConfigDir = 118;

  // Throws FatalError with the engine's own words if it does not start.
  explicit EngineSession(const EngineOptions& options);
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;

  void Feed(Frame frame);  // a copy: the engine clips the frame in place
  void WrapUp();           // as new for the next recording

 private:
  MessageCatcher messages_;
  std::vector<int16_t> out_;  // as long as the engine asks for; the sound is not used
};

// Reads the settings file, where one is named, for what is wrong with it: streams have no such file. Throws
// as the session does.
void CheckConfig(const EngineOptions& options);

// For CLI::Option::check(): what is wrong with the length of a folder's name, "" if nothing is.
std::string LengthComplaint(const std::string& dir);

}  // namespace vask::command
