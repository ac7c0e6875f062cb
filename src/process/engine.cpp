// The engine of the process, frame by frame.
#include <vask/engine.h>
#include <vask/settings.h>

#include <algorithm>
#include <span>

#include "dsp/float_mode.h"
#include "engine/lifecycle.h"
#include "engine/measures.h"
#include "engine/pipeline.h"
#include "process/process.h"

namespace process = vask::process;

namespace {

int32_t RunFrame(int16_t* frame, int16_t* out, int32_t* count) {
  const vask::DefaultFloatMode float_mode;
  if (count != nullptr) *count = 0;
  if (frame == nullptr) return vask::kGoOn;
  const vask::Step step =
      vask::ProcessFrame(process::engine, std::span<int16_t, vask::kFrame>(frame, vask::kFrame));
  if (out == nullptr) return step.result;
  std::copy(step.emitted.begin(), step.emitted.end(), out);
  if (count != nullptr) *count = static_cast<int32_t>(step.emitted.size());
  return step.result;
}

int32_t RunFrameInMode(int32_t mode, int16_t* frame, int16_t* out, int32_t* count) {
  process::engine_state.mode = mode;
  __compute_dynamic_feature__ = mode == vask::kFeatures ? 1 : 0;
  return RunFrame(frame, out, count);
}

}  // namespace

extern "C" {

void __Vask_Util_attach__(void) {}
void __Vask_Util_detach__(void) {}

void Vask_epd_set_base_dir(const char* dir) { process::SetBaseDir(dir); }

int32_t Vask_epd_init(const char* dir, int32_t mode) { return process::Start(dir, mode); }

int32_t Vask_epd_wrapup(void* /*out*/, int32_t* count) {
  if (count != nullptr) *count = 0;
  vask::WrapUp(process::engine);
  return 1;
}

void Vask_epd_stop(void) { process::Stop(); }

int32_t Vask_epd_speechenhance(int16_t* frame, int32_t /*n*/, int16_t* out, int32_t* count) {
  return RunFrameInMode(vask::kEnhancedSpeech, frame, out, count);
}

int32_t Vask_epd_frames(int16_t* frame, int32_t /*n*/, int16_t* out, int32_t* count) {
  return RunFrameInMode(vask::kSpeechFrames, frame, out, count);
}

// The feature modes emit nothing.
int32_t Vask_epd_features_dsr(int16_t* frame, int32_t /*n*/, int32_t* /*out*/, int32_t* count) {
  return RunFrameInMode(vask::kFeaturesDsr, frame, nullptr, count);
}

int32_t Vask_epd_features(int16_t* frame, int32_t /*n*/, int32_t* /*out*/, int32_t* count) {
  return RunFrameInMode(vask::kFeatures, frame, nullptr, count);
}

int32_t Vask_epd_frame_baseline(int16_t* frame, int32_t /*n*/, void* out, int32_t* count) {
  return RunFrame(frame, static_cast<int16_t*>(out), count);
}

int32_t Vask_epd_frame_energy(void) { return process::engine_state.loudness; }

void __Calculate_frame_energy(void) { vask::LoudnessFromEnergy(process::engine_state); }

}  // extern "C"
