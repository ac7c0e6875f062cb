// The one stream of the process: its engine, its front end and the variables that the interface exports. The
// files beside this one hold the exported functions that work on them, one file per public header; other
// rooms get the objects as arguments.
#include "process/process.h"

#include <vask/vask.h>

#include "dsp/float_mode.h"
#include "dsp/message.h"
#include "engine/lifecycle.h"
#include "engine/pcm_log.h"
#include "epd/profiles.h"
#include "kb/paths.h"
#include "process/raw_file.h"

extern "C" {

int32_t deviceID = 2, osID = 2;
float Vask_EPD_Sampling_Rate = 16000.0f;
float __Hi_Freq__ = 8000.0f;
int32_t ___epd_sensitivity = 0;
int32_t Vask_EPD_Energy_Only = 0;
int32_t __compute_dynamic_feature__ = 0;
char Vask_epd_base_dir[128] = "Vask.db/";

int32_t __Vask_epd_detect_env_change = 1;
fmatrix ecdLFBE = nullptr;
int32_t ecdFrames = 0;
float* ecdorgLFBE = nullptr;
int32_t ecdorgFrames = 0;
int32_t frame_energy[2049] = {};
int16_t sample_min = 0, sample_max = 0;

adpcm_state enc_state = {}, dec_state = {};

}  // extern "C"

namespace vask::process {

// Initialised by a call: as a constant, its 42 KB of zeros and five initial values would be stored in the
// file. Initialised before everything else, so that what a program has started from its own constructors is
// kept.
[[gnu::init_priority(101)]] epd_engine engine_state = NewEngineRecord();
EnvironmentDetector environment;
frontend front_end;
// Also by a call, and as early: its 1.3 MB of zeros would be stored likewise.
[[gnu::constructor(101)]] static void ChooseFirstMode() { ChooseMode(front_end, kSpeechFrames); }
bool mean_loaded = false;
int32_t mean_updates = 0;

constinit EnvironmentHistory history = {.enabled = __Vask_epd_detect_env_change,
                                        .mel_energies = ecdLFBE,
                                        .mel_frames = ecdFrames,
                                        .log_energies = ecdorgLFBE,
                                        .log_frames = ecdorgFrames,
                                        .frame_energies = frame_energy,
                                        .sample_min = sample_min,
                                        .sample_max = sample_max};

static constexpr EngineObserver kObserver = {
    .begins =
        [](epd_engine& e, std::span<const int16_t> frame) {
          OpenLogIfDue(e);
          NoteSamples(history, frame);
        },
    .measured = [](int32_t energy) { NoteEnergy(history, energy); },
    .cleaned = [](int32_t energy) { NoteLogEnergy(history, energy); },
    .restarts =
        [](const epd_engine& e) {
          Say(Message::kInformation, "EPD RESET(%d, f=%d) ", e.restart_count, e.frames_in);
          ClearHistories(history);
        },
    .drained = WriteLog,
    .rejected = EmptyLog,
    .wrapped_up = CloseLog};

constinit const Engine engine = {.state = engine_state, .observer = &kObserver};

constinit Settings settings = {.sampling_rate = Vask_EPD_Sampling_Rate,
                               .cutoff = __Hi_Freq__,
                               .sensitivity = ___epd_sensitivity,
                               .loud_definition = engine_state.loud_definition};

int32_t Start(const char* dir, int32_t mode) {
  const DefaultFloatMode float_mode;
  Stop();
  if (!SetBaseDir(dir)) return 0;
  if (!CreateEngine(engine_state, mode, DeviceProfile(deviceID, osID))) return 0;
  __Vask_epd_detect_env_change = CreateEnvironment(environment, history);
  if (mode == kEnergyOnlyRequest) Vask_EPD_Energy_Only = 1;
  return 1;
}

void Stop() {
  CloseLog(engine_state);
  ReleaseEngine(engine_state);
  ReleaseEnvironment(environment, history);
}

bool SetBaseDir(const char* dir) {
  if (!JoinPath(Vask_epd_base_dir, dir, "Vask.db", "/")) {
    Say(Message::kFailure, "ERROR: knowledge-base directory is %s\n",
        dir == nullptr ? "missing" : "too long");
    return false;
  }
  Say(Message::kInformation, "Vask epd KB directory: %s\n", Vask_epd_base_dir);
  return true;
}

void SetPcmLog(int32_t flag, const char* dir) {
  if (flag == 1) {
    LogInto(engine_state, dir);
  } else {
    engine_state.pcm_log_on = 0;
  }
}

}  // namespace vask::process

namespace vask {

RawFile& FileOfTheProcess() {
  static constinit RawFile file;
  return file;
}

}  // namespace vask
