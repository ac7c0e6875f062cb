// Settings of the process, and the files of a knowledge base.
#include <vask/dsp.h>
#include <vask/mfcc.h>
#include <vask/noise.h>
#include <vask/settings.h>

#include "dsp/float_mode.h"
#include "dsp/message.h"
#include "engine/coefficient_export.h"
#include "epd/ignored_options.h"
#include "process/process.h"

namespace process = vask::process;

namespace {

constexpr int32_t kLeastTrailingSilence = 30;  // frames

vask::Export ExportTables(const char* root, decltype(vask::ExportCoefficients)& write_files) {
  const vask::NamedTable tables[] = {
      {"cc1.txt", cc1_data},
      {"cc3.txt", cc3_data},
      {"ss1.txt", ss1_data},
      {"ss3.txt", ss3_data},
      {"loChan.txt", loChan_data},
      {"pre_emph.txt", pre_emph_data},
      {"InitDCTMatrix.txt", InitDCTMatrix_data},
      {"InitFBank.txt", InitFBank_data},
      {"mel_filt.txt", mel_filt_data},
  };
  return write_files(root, std::span(tables));
}

}  // namespace

extern "C" {

void Vask_epd_set_option(int32_t option, int32_t value) {
  if (option == 1) deviceID = value;
  if (option == 2) osID = value;
}

int32_t __check_Vask_Config__(const char* dir) {
  const vask::DefaultFloatMode float_mode;
  vask::ApplyConfigFile(process::settings, dir);
  return 0;
}

int32_t Vask_EPD_Set_Samplign_Rate(int32_t rate) {
  const vask::DefaultFloatMode float_mode;
  vask::SetSamplingRate(process::settings, rate);
  return 1;
}

void Vask_EPD_Set_Mode(int32_t value) { process::engine_state.mode_request = value; }
void Vask_EPD_Set_Mode_Energy(int32_t value) { Vask_EPD_Energy_Only = value; }
int32_t Vask_EPD_Set_Mode_Enhanced_To_Raw(void) { return 0; }
int32_t Vask_EPD_UV_Control(void) { return 0; }
int32_t Vask_EPD_Frame_Loss(void) { return 0; }

void Vask_epd_save_pcm_valid(int32_t flag) {
  process::engine_state.pcm_log_on = flag == 1 ? 1 : 0;
  vask::Say(vask::Message::kInformation, "  VaskUtil save valid PCM: %s\n", flag == 1 ? "YES" : "NO");
}

void Vask_epd_save_pcm_dir(int32_t flag, const char* dir) { process::SetPcmLog(flag, dir); }

void Vask_epd_save_pcm_count(int32_t option, int32_t value) {
  if (option == 1) process::engine_state.pcm_log_count = value;
}

int32_t Vask_epd_vad(int32_t threshold) {
  process::engine_state.vad_threshold = threshold;
  return 0;  // recorded only: the detector's threshold is that of its profile
}

int32_t Vask_epd_set_trailing_silence(int32_t frames) {
  if (frames <= kLeastTrailingSilence) {
    vask::Say(vask::Message::kFailure,
              "WARNING: too small for trailing control :  ( %d ), Fixed to 30...\n\n", frames);
    frames = kLeastTrailingSilence;
  }
  return vask::ReportTrailingSilence(frames);
}

int32_t vask_make_coeff_files(const char* root) {
  return static_cast<int32_t>(ExportTables(root, vask::CompleteCoefficients));
}

void android_make_coeff_files(void) { ExportTables("/sdcard/kb_embedded", vask::ExportCoefficients); }

}  // extern "C"
