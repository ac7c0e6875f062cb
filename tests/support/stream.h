// An engine with its own storage, separate from that of the process.
#pragma once

#include <cstdint>
#include <span>

#include "engine/lifecycle.h"
#include "engine/pcm_log.h"
#include "engine/pipeline.h"
#include "epd/profiles.h"
#include "support/scene.h"

namespace vask::test {

struct Emitted {
  int32_t result = 0;
  Samples samples;
  bool operator==(const Emitted&) const = default;
};

// It logs speech, as the engine of the process does.
inline constexpr EngineObserver kLogging = {
    .begins = [](epd_engine& e, std::span<const int16_t>) { OpenLogIfDue(e); },
    .measured = [](int32_t) {},
    .cleaned = [](int32_t) {},
    .restarts = [](const epd_engine&) {},
    .drained = WriteLog,
    .rejected = EmptyLog,
    .wrapped_up = CloseLog};

struct Stream {
  epd_engine state = {};

  Stream() = default;
  explicit Stream(int32_t mode, int32_t device = 2) { Start(mode, device); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    CloseLog(state);
    ReleaseEngine(state);
  }

  Engine engine() { return {state, &kLogging}; }

  bool Start(int32_t mode, int32_t device = 2) { return CreateEngine(state, mode, DeviceProfile(device, 2)); }

  Emitted Process(int32_t mode, const Samples& samples, size_t t) {  // frame t of them
    Samples frame(&samples[160 * t], &samples[160 * t] + 160);
    state.mode = mode;
    const Step step = ProcessFrame(engine(), std::span<int16_t, kFrame>(frame));
    return {step.result, {step.emitted.begin(), step.emitted.end()}};
  }
};

}  // namespace vask::test
