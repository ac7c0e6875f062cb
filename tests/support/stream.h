// An engine with its own storage, separate from that of the process.
#pragma once

#include <cstdint>
#include <span>

#include "engine/lifecycle.h"
#include "engine/pipeline.h"
#include "epd/profiles.h"
#include "support/scene.h"

namespace vask::test {

struct Emitted {
  int32_t result = 0;
  Samples samples;
  bool operator==(const Emitted&) const = default;
};

struct Stream {
  epd_engine state = {};

  Stream() = default;
  explicit Stream(int32_t mode, int32_t device = 2) { Start(mode, device); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() { ReleaseEngine(state); }

  bool Start(int32_t mode, int32_t device = 2) { return CreateEngine(state, mode, DeviceProfile(device, 2)); }

  Emitted Process(int32_t mode, const Samples& samples, size_t t) {  // frame t of them
    Samples frame(&samples[160 * t], &samples[160 * t] + 160);
    state.mode = mode;
    const Step step = ProcessFrame({state}, std::span<int16_t, kFrame>(frame));
    return {step.result, {step.emitted.begin(), step.emitted.end()}};
  }
};

}  // namespace vask::test
