// The environment check of the process.
#include <vask/ecd.h>

#include "dsp/float_mode.h"
#include "ecd/report.h"
#include "ecd/scoring.h"
#include "process/process.h"

namespace process = vask::process;

extern "C" {

int32_t __Vask_epd_ecd_Init(void) { return vask::CreateEnvironment(process::environment, process::history); }

int32_t __Vask_epd_ecd_Stop(void) {
  vask::ReleaseEnvironment(process::environment, process::history);
  return 1;
}

int32_t __Vask_epd_ecd_change(void) {
  const vask::DefaultFloatMode float_mode;
  return vask::AnalyzeChange(process::environment, process::history);
}

void EnvChangeValue(int32_t* first, int32_t* last, int32_t* count) {
  const vask::DefaultFloatMode float_mode;
  const vask::Changes changes =
      vask::FindChanges(process::environment.matrices, ecdLFBE, vask::MelRowsOf(process::history));
  if (first != nullptr) *first = changes.first;
  if (last != nullptr) *last = changes.last;
  if (count != nullptr) *count = changes.count;
}

int32_t ECVreport(int32_t first, int32_t last, int32_t count) {
  const vask::DefaultFloatMode float_mode;
  return vask::ReportChange(process::environment, process::history, {first, last, count});
}

int32_t Vask_epd_ecd(void) {
  const vask::DefaultFloatMode float_mode;
  const int32_t code =
      __Vask_epd_detect_env_change == 0 ? -1 : vask::AnalyzeChange(process::environment, process::history);
  vask::ClearHistories(process::history);
  return code;
}

int32_t Vask_epd_ecd_reset(void) {
  vask::ClearHistories(process::history);
  vask::ClearExtremes(process::history);
  return 0;
}

float Vask_epd_ecd_snr(int16_t* min, int16_t* max) {
  if (min != nullptr) *min = sample_min;
  if (max != nullptr) *max = sample_max;
  vask::ClearExtremes(process::history);
  return process::environment.snr;
}

float __Vask_epd_ecd_get_SNR(void) { return process::environment.snr; }

int32_t __Vask_epd_set_seneitivity(int32_t level, float rise) {
  const vask::DefaultFloatMode float_mode;
  return vask::SetSensitivity(process::environment, level, rise);
}

}  // extern "C"
