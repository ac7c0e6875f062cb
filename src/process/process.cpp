// The one stream of the process: its engine, its front end, the variables that the interface exports, and the
// exported functions that work on them. No other file knows these objects; everything below gets them as
// arguments.
#include <vask/vask.h>

#include <algorithm>
#include <cstdint>

#include "codec/adpcm.h"
#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/rounding.h"
#include "ecd/environment.h"
#include "ecd/report.h"
#include "ecd/scoring.h"
#include "engine/coefficient_export.h"
#include "engine/lifecycle.h"
#include "engine/measures.h"
#include "engine/pcm_log.h"
#include "engine/pipeline.h"
#include "engine/record.h"
#include "engine/settings.h"
#include "epd/options.h"
#include "epd/profiles.h"
#include "epd/records.h"
#include "frontend/framing.h"
#include "frontend/packets.h"
#include "kb/paths.h"
#include "mfcc/cepstral_mean.h"
#include "mfcc/extraction.h"
#include "mfcc/parameters.h"
#include "mfcc/tables.h"
#include "noise/mel_bank.h"
#include "noise/wiener_state.h"
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

namespace {

// Made by a call: as a constant, its 42 KB of zeros and five first values would stand in the file. Made
// before all else, so that what a program starts from its own constructors stays.
[[gnu::init_priority(101)]] epd_engine engine_state = vask::NewEngineRecord();
vask::EnvironmentDetector environment;
frontend front_end;
bool mean_loaded = false;  // by the first refresh of an extractor
int32_t mean_updates = 0;  // since the mean's file was written

vask::EnvironmentHistory history = {.enabled = __Vask_epd_detect_env_change,
                                    .mel_energies = ecdLFBE,
                                    .mel_frames = ecdFrames,
                                    .log_energies = ecdorgLFBE,
                                    .log_frames = ecdorgFrames,
                                    .frame_energies = frame_energy,
                                    .sample_min = sample_min,
                                    .sample_max = sample_max};

vask::Engine engine = {.state = engine_state, .history = &history};

vask::Settings settings = {.sampling_rate = Vask_EPD_Sampling_Rate,
                           .cutoff = __Hi_Freq__,
                           .sensitivity = ___epd_sensitivity,
                           .loud_definition = engine_state.loud_definition};

bool SetBaseDir(const char* dir) {
  if (!vask::JoinPath(Vask_epd_base_dir, dir, "Vask.db", "/")) {
    vask::Say(stdout, "ERROR: knowledge-base directory is %s\n", dir == nullptr ? "missing" : "too long");
    return false;
  }
  vask::Say(stderr, "Vask epd KB directory: %s\n", Vask_epd_base_dir);
  return true;
}

void StopEngine() {
  vask::ReleaseEngine(engine_state);
  vask::ReleaseEnvironment(environment, history);
}

int32_t InitEngine(const char* dir, int32_t mode) {
  const vask::RoundToNearest rounding;
  StopEngine();
  if (!SetBaseDir(dir)) return 0;
  if (!vask::CreateEngine(engine_state, mode, vask::DeviceProfile(deviceID, osID))) return 0;
  __Vask_epd_detect_env_change = vask::CreateEnvironment(environment, history);
  if (mode == vask::kEnergyOnlyRequest) Vask_EPD_Energy_Only = 1;
  return 1;
}

int32_t RunFrame(int16_t* frame, int16_t* out, int32_t* count) {
  const vask::RoundToNearest rounding;
  if (count != nullptr) *count = 0;
  if (frame == nullptr) return vask::kGoOn;
  const vask::Step step = vask::ProcessFrame(engine, std::span<int16_t, vask::kFrame>(frame, vask::kFrame));
  if (out == nullptr) return step.result;
  std::copy(step.emitted.begin(), step.emitted.end(), out);
  if (count != nullptr) *count = static_cast<int32_t>(step.emitted.size());
  return step.result;
}

int32_t RunFrameInMode(int32_t mode, int16_t* frame, int16_t* out, int32_t* count) {
  engine_state.mode = mode;
  __compute_dynamic_feature__ = mode == vask::kFeatures ? 1 : 0;
  return RunFrame(frame, out, count);
}

void SetPcmLog(int32_t flag, const char* dir) {
  if (flag == 1) {
    vask::LogInto(engine_state, dir);
  } else {
    engine_state.pcm_log_on = 0;
  }
}

constexpr int32_t kLeastTrailingSilence = 30;  // frames
constexpr int32_t kDefaultTrailingSilence = 40;

int32_t SetTrailingSilence(int32_t frames) {
  if (frames <= kLeastTrailingSilence) {
    vask::Say(stdout, "WARNING: too small for trailing control :  ( %d ), Fixed to 30...\n\n", frames);
    frames = kLeastTrailingSilence;
  }
  return vask::ReportTrailingSilence(frames);
}

vask::Export ExportTables(const char* root) {
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
  return vask::ExportCoefficients(root, tables);
}

// Where entries may be copied to: nowhere for a null pointer or a negative count.
template <typename T>
std::span<T> Destination(T* dst, int32_t max) {
  return {dst, dst == nullptr || max < 0 ? 0 : static_cast<size_t>(max)};
}

}  // namespace

namespace vask {

RawFile& FileOfTheProcess() {
  static constinit RawFile file;
  return file;
}

}  // namespace vask

extern "C" {

// --- front end

int32_t android_init_frontend(const char* dir, int32_t mode) {
  front_end.mode = mode;
  const int32_t result = InitEngine(dir, mode);
  SetTrailingSilence(kDefaultTrailingSilence);
  return result;
}

int32_t android_process_frame(int32_t n, int16_t* samples) {
  const vask::RoundToNearest rounding;
  if (samples == nullptr) {
    vask::WrapUp(engine_state);
    return vask::kEnded;
  }
  const vask::Processed processed =
      vask::ProcessSamples(front_end, engine, {samples, static_cast<size_t>(std::max(n, 0))});
  if (processed.ran_engine) __compute_dynamic_feature__ = front_end.mode == vask::kFeatures ? 1 : 0;
  return processed.result;
}

int32_t android_get_frames(int32_t max, int16_t* dst) {
  return vask::TakeFrames(front_end, Destination(dst, max));
}

int32_t android_get_features(int32_t max, int32_t* dst) {
  return vask::TakeFeatures(front_end, Destination(dst, max));
}

int32_t android_get_available_frames(void) { return vask::AvailableEntries(front_end); }

int32_t android_wrapup_frontend(void) {
  vask::WrapUp(engine_state);
  return 1;
}

int32_t android_reset_frontend(void) {
  vask::ResetPositions(front_end);
  vask::ClearHistories(history);
  vask::ClearExtremes(history);
  return 0;
}

void android_stop_frontend(void) { StopEngine(); }

void android_enable_log(int32_t on, const char* dir) { SetPcmLog(on, dir); }

// --- packets

int32_t vask_packet_size(int32_t n, int32_t last) { return vask::PacketSize(front_end, n, last != 0); }

int32_t vask_take_packet(int32_t n, uint8_t* out, int32_t size, int32_t last) {
  const int32_t bytes = vask::PacketSize(front_end, n, last != 0);
  if (out == nullptr || bytes == 0 || size < bytes) return 0;
  vask::TakePacket(front_end, enc_state, {out, static_cast<size_t>(bytes)});
  return bytes;
}

int32_t vask_packet_stream_size(int32_t n, int32_t last) { return vask::StreamSize(front_end, n, last != 0); }

int32_t vask_take_packet_stream(int32_t n, uint8_t* out, int32_t size, int32_t last) {
  const int32_t bytes = vask::StreamSize(front_end, n, last != 0);
  if (out == nullptr || bytes == 0 || size < bytes) return 0;
  vask::TakeStream(front_end, enc_state, n, last != 0, {out, static_cast<size_t>(bytes)});
  return bytes;
}

int32_t vask_write_packet_header(char type, int32_t n, uint8_t* out) {
  if (out == nullptr || !vask::IsPacketSize(n) || (type != 'D' && type != 'E')) return 0;
  vask::WritePacketHeader(type, n, out);
  return VASK_PACKET_HEADER;
}

int32_t vask_read_packet_header(const uint8_t* bytes, int32_t size, char* type) {
  char ignored = 0;
  if (bytes == nullptr || size < 0) return 0;
  return vask::ReadPacketHeader({bytes, static_cast<size_t>(size)}, type != nullptr ? *type : ignored);
}

int32_t short_to_adpcm(const int16_t* in, uint8_t* out, int32_t n) {
  if ((in == nullptr || out == nullptr) && n > 0) return 0;
  return vask::EncodeAdpcm(enc_state, {in, static_cast<size_t>(std::max(n, 0))}, out);
}

int32_t adpcm_to_short(const uint8_t* in, int16_t* out, int32_t m) {
  const int32_t samples = std::max(m, 0) / 2;
  if ((in == nullptr || out == nullptr) && samples > 0) return 0;
  return vask::DecodeAdpcm(dec_state, in, {out, static_cast<size_t>(samples)});
}

void refersh_adpcm_state(void) { enc_state = dec_state = {}; }

// --- engine

void __Vask_Util_attach__(void) {}
void __Vask_Util_detach__(void) {}

void Vask_epd_set_base_dir(const char* dir) { SetBaseDir(dir); }

int32_t Vask_epd_init(const char* dir, int32_t mode) { return InitEngine(dir, mode); }

int32_t Vask_epd_wrapup(void* /*out*/, int32_t* count) {
  if (count != nullptr) *count = 0;
  vask::WrapUp(engine_state);
  return 1;
}

void Vask_epd_stop(void) { StopEngine(); }

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

int32_t Vask_epd_frame_energy(void) { return engine_state.loudness; }

void __Calculate_frame_energy(void) { vask::LoudnessFromEnergy(engine_state); }

// --- settings

void Vask_epd_set_option(int32_t option, int32_t value) {
  if (option == 1) deviceID = value;
  if (option == 2) osID = value;
}

int32_t __check_Vask_Config__(const char* dir) {
  vask::ApplyConfigFile(settings, dir);
  return 0;
}

int32_t Vask_EPD_Set_Samplign_Rate(int32_t rate) {
  vask::SetSamplingRate(settings, rate);
  return 1;
}

void Vask_EPD_Set_Mode(int32_t value) { engine_state.mode_request = value; }
void Vask_EPD_Set_Mode_Energy(int32_t value) { Vask_EPD_Energy_Only = value; }
int32_t Vask_EPD_Set_Mode_Enhanced_To_Raw(void) { return 0; }
int32_t Vask_EPD_UV_Control(void) { return 0; }
int32_t Vask_EPD_Frame_Loss(void) { return 0; }

void Vask_epd_save_pcm_valid(int32_t flag) {
  engine_state.pcm_log_on = flag == 1 ? 1 : 0;
  vask::Say(stderr, "  VaskUtil save valid PCM: %s\n", flag == 1 ? "YES" : "NO");
}

void Vask_epd_save_pcm_dir(int32_t flag, const char* dir) { SetPcmLog(flag, dir); }

void Vask_epd_save_pcm_count(int32_t option, int32_t value) {
  if (option == 1) engine_state.pcm_log_count = value;
}

int32_t Vask_epd_vad(int32_t threshold) {
  engine_state.vad_threshold = threshold;
  return 0;  // recorded; the detector's threshold is its profile's
}

int32_t Vask_epd_set_trailing_silence(int32_t frames) { return SetTrailingSilence(frames); }

// --- records that are created from the settings and tables above

void init_energy_epd_conprm(energy_epd_prm* prm) {
  if (prm != nullptr) prm->profile = vask::DeviceProfile(deviceID, osID);
}

int32_t init_energy_epd_prm(energy_epd_prm* prm, int32_t frame_shift) {
  return prm != nullptr && vask::CreateDetector(*prm, frame_shift, vask::DeviceProfile(deviceID, osID)) ? 1
                                                                                                        : 0;
}

int32_t InitMelFBFromFile(mel_band* first, int32_t n) {
  return first != nullptr && vask::ReadMelBank(*first, n, Vask_epd_base_dir) ? 1 : 0;
}

// --- environment change

int32_t __Vask_epd_ecd_Init(void) { return vask::CreateEnvironment(environment, history); }

int32_t __Vask_epd_ecd_Stop(void) {
  vask::ReleaseEnvironment(environment, history);
  return 1;
}

int32_t __Vask_epd_ecd_change(void) {
  const vask::RoundToNearest rounding;
  return vask::AnalyzeChange(environment, history);
}

void EnvChangeValue(int32_t* first, int32_t* last, int32_t* count) {
  const vask::RoundToNearest rounding;
  const vask::Changes changes = vask::FindChanges(environment.matrices, ecdLFBE, vask::MelRowsOf(history));
  if (first != nullptr) *first = changes.first;
  if (last != nullptr) *last = changes.last;
  if (count != nullptr) *count = changes.count;
}

int32_t ECVreport(int32_t first, int32_t last, int32_t count) {
  const vask::RoundToNearest rounding;
  return vask::ReportChange(environment, history, {first, last, count});
}

int32_t Vask_epd_ecd(void) {
  const vask::RoundToNearest rounding;
  const int32_t code = __Vask_epd_detect_env_change == 0 ? -1 : vask::AnalyzeChange(environment, history);
  vask::ClearHistories(history);
  return code;
}

int32_t Vask_epd_ecd_reset(void) {
  vask::ClearHistories(history);
  vask::ClearExtremes(history);
  return 0;
}

float Vask_epd_ecd_snr(int16_t* min, int16_t* max) {
  if (min != nullptr) *min = sample_min;
  if (max != nullptr) *max = sample_max;
  vask::ClearExtremes(history);
  return environment.snr;
}

float __Vask_epd_ecd_get_SNR(void) { return environment.snr; }

int32_t __Vask_epd_set_seneitivity(int32_t level, float rise) {
  return vask::SetSensitivity(environment, level, rise);
}

// --- MFCC

int32_t init_mfcc_prm(mfcc_prm* m, int32_t fft_len) {
  const vask::RoundToNearest rounding;
  if (m == nullptr || !vask::CreateExtractor(*m, fft_len, Vask_epd_base_dir)) return 0;
  vask::ReadMean(*m, Vask_epd_base_dir);  // a mean that is missing is no failure
  return 1;
}

void refresh_mfcc_prm(mfcc_prm* m) {
  if (m == nullptr) return;
  vask::StartUtterance(*m);
  if (mean_loaded || !vask::IsUp(*m)) return;
  mean_loaded = true;
  vask::ReadMean(*m, Vask_epd_base_dir);
}

int32_t InitFBank(int32_t fft_len, int32_t /*channels_plus_one*/, int32_t* lo_chan, int32_t* wt) {
  const std::span<int32_t> channels = Destination(lo_chan, fft_len / 2 + 1);
  const std::span<int32_t> weights = Destination(wt, fft_len / 2 + 1);
  if (channels.empty() || weights.empty()) return -1;
  return vask::ReadChannels(Vask_epd_base_dir, channels.subspan(1), weights.subspan(1)) ? 0 : -1;
}

int32_t* InitDCTMatrix(int32_t rows, int32_t cols) {
  const int64_t count = rows < 0 || cols < 0 ? -1 : int64_t{rows} * cols;
  auto* matrix = vask::NewZeroed<int32_t>(count);
  if (matrix != nullptr && !vask::ReadCepstrumBasis(Vask_epd_base_dir, {matrix, static_cast<size_t>(count)}))
    vask::Release(matrix);
  return matrix;
}

void mfcc_feat_ex(mfcc_prm* m, int32_t* ready, int32_t /*unused*/, int32_t with_dynamics) {
  const vask::RoundToNearest rounding;
  if (m == nullptr || ready == nullptr) return;
  *ready = vask::IsUp(*m) && vask::ExtractFrame(*m, history, with_dynamics != 0) ? 1 : 0;
}

void global_cms_update(mfcc_prm* m) {
  const vask::RoundToNearest rounding;
  if (m != nullptr && vask::IsUp(*m)) vask::UpdateMean(*m, mean_updates, Vask_epd_base_dir);
}

int32_t vask_read_global_cms(mfcc_prm* m) {
  return m != nullptr && vask::IsUp(*m) && vask::ReadMean(*m, Vask_epd_base_dir) ? 1 : 0;
}

int32_t vask_write_global_cms(const mfcc_prm* m) {
  if (m == nullptr || !vask::IsUp(*m)) return 0;
  return vask::WriteMean({m->cms, static_cast<size_t>(vask::kCepstra)}, Vask_epd_base_dir) ? 1 : 0;
}

// --- knowledge base

int32_t vask_make_coeff_files(const char* root) { return static_cast<int32_t>(ExportTables(root)); }

void android_make_coeff_files(void) { ExportTables("/sdcard/kb_embedded"); }

}  // extern "C"
