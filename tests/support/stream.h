// An engine with storage of its own, beside the one of the process.
#pragma once

#include <vask/noise.h>

#include <array>
#include <cstdint>

#include "engine/lifecycle.h"
#include "engine/pipeline.h"
#include "engine/record.h"
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
  EnvironmentDetector environment;
  fmatrix mel_energies = nullptr;
  float* log_energies = nullptr;
  int32_t mel_frames = 0, log_frames = 0, enabled = 1, energy_only = 0, dynamic_feature = 0;
  std::array<int32_t, kHistoryLimit + 1> energies = {};
  int16_t low = 0, high = 0;
  EnvironmentHistory history = {enabled,    mel_energies, mel_frames, log_energies,
                                log_frames, energies,     low,        high};
  Engine engine = {state, environment, history, energy_only, dynamic_feature};

  Stream() = default;
  explicit Stream(int32_t mode, int32_t device = 2) { Start(mode, device); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() { StopEngine(engine); }

  bool Start(int32_t mode, int32_t device = 2) { return StartEngine(engine, mode, DeviceProfile(device, 2)); }

  Emitted Process(int32_t mode, const Samples& samples, size_t t) {  // frame t of them
    Samples frame(&samples[160 * t], &samples[160 * t] + 160), out(kQueueFrames * kFrame);
    int32_t count = -1;
    const int32_t result = ProcessFrameInMode(engine, mode, frame.data(), out.data(), count);
    out.resize(static_cast<size_t>(count));
    return {result, out};
  }
};

}  // namespace vask::test
