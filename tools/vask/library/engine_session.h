// The engine behind the C interface in its mode 1, started and stopped with this object, one frame at a time:
// the environment check depends on it, and it reads config.Vask.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "format.h"

namespace vask::command {

struct EngineOptions {
  int32_t device = 2;  // the library's default
  int32_t os = 2;
  std::string config_dir;  // holds config.Vask; empty: built-in settings

  std::string ConfigFile() const { return config_dir.empty() ? "" : config_dir + "/config.Vask"; }
};

// There is one engine per process, so there is one session at a time.
class EngineSession {
 public:
  // Longest folder name that the engine accepts, in bytes.
  static constexpr size_t kMaxConfigDir = 118;

  // Throws FatalError with the engine's own message if it does not start.
  explicit EngineSession(const EngineOptions& options);
  ~EngineSession();
  EngineSession(const EngineSession&) = delete;
  EngineSession& operator=(const EngineSession&) = delete;

  void Feed(Frame frame);  // a copy: the engine clips the frame in place
  void WrapUp();           // ready for the next recording

 private:
  std::vector<int16_t> out_;  // as long as the engine requires; the sound is not used
};

// Checks the settings file, if one is named, since streams do not read it. Throws as the session does.
void CheckConfig(const EngineOptions& options);

// For CLI::Option::check(): what is wrong with the length of a folder's name, "" if nothing is.
std::string LengthComplaint(const std::string& dir);

}  // namespace vask::command
