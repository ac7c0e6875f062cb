// The front end of the process.
#include <vask/frontend.h>
#include <vask/settings.h>

#include <algorithm>

#include "dsp/float_mode.h"
#include "engine/lifecycle.h"
#include "epd/ignored_options.h"
#include "process/process.h"

namespace process = vask::process;

namespace {

constexpr int32_t kDefaultTrailingSilence = 40;  // frames

}  // namespace

extern "C" {

int32_t android_init_frontend(const char* dir, int32_t mode) {
  vask::ChooseMode(process::front_end, mode);
  const int32_t result = process::Start(dir, mode);
  vask::ReportTrailingSilence(kDefaultTrailingSilence);
  return result;
}

int32_t android_process_frame(int32_t n, int16_t* samples) {
  const vask::DefaultFloatMode float_mode;
  if (samples == nullptr) {
    vask::WrapUp(process::engine);
    return vask::kEnded;
  }
  const vask::Processed processed = vask::ProcessSamples(process::front_end, process::engine,
                                                         {samples, static_cast<size_t>(std::max(n, 0))});
  if (processed.ran_engine) __compute_dynamic_feature__ = process::front_end.mode == vask::kFeatures ? 1 : 0;
  return processed.result;
}

int32_t android_get_frames(int32_t max, int16_t* dst) {
  return vask::TakeFrames(process::front_end, process::Destination(dst, max));
}

int32_t android_get_features(int32_t max, int32_t* dst) {
  return vask::TakeFeatures(process::front_end, process::Destination(dst, max));
}

int32_t android_get_available_frames(void) { return vask::AvailableEntries(process::front_end); }

int32_t android_wrapup_frontend(void) {
  vask::WrapUp(process::engine);
  return 1;
}

int32_t android_reset_frontend(void) {
  vask::ResetPositions(process::front_end);
  vask::ClearHistories(process::history);
  vask::ClearExtremes(process::history);
  return 0;
}

void android_stop_frontend(void) { process::Stop(); }

void android_enable_log(int32_t on, const char* dir) { process::SetPcmLog(on, dir); }

}  // extern "C"
