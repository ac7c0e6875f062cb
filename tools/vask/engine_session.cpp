#include "engine_session.h"

#include <vask/engine.h>
#include <vask/settings.h>

#include <cstdio>

namespace vask::command {
namespace {

constexpr size_t kLargestOutput = 20000;  // samples for one frame

}  // namespace

EngineSession::EngineSession(Mode mode, const EngineOptions& options) : mode_(mode), out_(kLargestOutput) {
  try {
    messages_.Run([&] {
      Vask_epd_set_option(1, options.device);
      Vask_epd_set_option(2, options.os);
      if (!options.config_dir.empty()) __check_Vask_Config__(options.config_dir.c_str());
      const char* dir = options.config_dir.empty() ? "." : options.config_dir.c_str();
      if (Vask_epd_init(dir, static_cast<int32_t>(mode)) != 1) std::puts("ERROR: the engine does not start");
    });
  } catch (...) {
    Vask_epd_stop();
    throw;
  }
}

EngineSession::~EngineSession() {
  messages_.Complaint([] { Vask_epd_stop(); });
}

EngineSession::Step EngineSession::Feed(Frame frame) {
  int32_t answer = 0, count = 0;
  const auto process = mode_ == Mode::kEnhance ? Vask_epd_speechenhance : Vask_epd_frames;
  messages_.Run([&] { answer = process(frame.data(), kFrameSamples, out_.data(), &count); });
  return {static_cast<Answer>(answer), std::span(out_).first(static_cast<size_t>(count > 0 ? count : 0))};
}

void EngineSession::WrapUp() {
  int32_t count = 0;
  messages_.Run([&] { Vask_epd_wrapup(nullptr, &count); });
}

}  // namespace vask::command
