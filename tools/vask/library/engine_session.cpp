#include "library/engine_session.h"

#include <vask/ecd.h>
#include <vask/engine.h>
#include <vask/settings.h>

#include <new>

#include "library/messages.h"
#include "terminal/errors.h"

namespace vask::command {
namespace {

constexpr int32_t kEnhance = 1;           // the engine's number for this mode
constexpr size_t kLargestOutput = 20000;  // samples for one frame

}  // namespace

EngineSession::EngineSession(const EngineOptions& options) : out_(kLargestOutput) {
  try {
    bool is_up = false;
    RunOrThrow([&] {
      Vask_epd_set_option(1, options.device);
      Vask_epd_set_option(2, options.os);
      if (!options.config_dir.empty()) __check_Vask_Config__(options.config_dir.c_str());
      const char* dir = options.config_dir.empty() ? "." : options.config_dir.c_str();
      is_up = Vask_epd_init(dir, kEnhance) == 1;
    });
    if (!is_up) throw FatalError("the engine does not start");
    if (__Vask_epd_detect_env_change == 0) throw std::bad_alloc();  // it runs, but judges nothing
  } catch (...) {
    Vask_epd_stop();
    throw;
  }
}

EngineSession::~EngineSession() { Vask_epd_stop(); }

void EngineSession::Feed(Frame frame) {
  int32_t count = 0;
  RunOrThrow([&] { Vask_epd_speechenhance(frame.data(), kFrameSamples, out_.data(), &count); });
}

void EngineSession::WrapUp() {
  int32_t count = 0;
  RunOrThrow([&] { Vask_epd_wrapup(nullptr, &count); });
}

void CheckConfig(const EngineOptions& options) {
  if (!options.config_dir.empty()) EngineSession engine(options);
}

std::string LengthComplaint(const std::string& dir) {
  if (dir.size() <= EngineSession::kMaxConfigDir) return "";
  return Printable(dir) + " is too long: at most " + std::to_string(EngineSession::kMaxConfigDir) + " bytes";
}

}  // namespace vask::command
