// Extractors: their files, and the histories that they write to.
#include <vask/engine.h>
#include <vask/mfcc.h>

#include <span>

#include "dsp/float_mode.h"
#include "dsp/memory.h"
#include "mfcc/cepstral_mean.h"
#include "mfcc/extraction.h"
#include "mfcc/extractor_lifecycle.h"
#include "mfcc/tables.h"
#include "process/process.h"

namespace process = vask::process;

extern "C" {

int32_t init_mfcc_prm(mfcc_prm* m, int32_t fft_len) {
  const vask::DefaultFloatMode float_mode;
  if (m == nullptr || !vask::CreateExtractor(*m, fft_len, Vask_epd_base_dir)) return 0;
  vask::ReadMean(*m, Vask_epd_base_dir);  // a missing mean is not a failure
  return 1;
}

void refresh_mfcc_prm(mfcc_prm* m) {
  if (m == nullptr) return;
  vask::StartUtterance(*m);
  if (process::mean_loaded || !vask::IsUp(*m)) return;
  process::mean_loaded = true;
  vask::ReadMean(*m, Vask_epd_base_dir);
}

int32_t InitFBank(int32_t fft_len, int32_t /*channels_plus_one*/, int32_t* lo_chan, int32_t* wt) {
  const std::span<int32_t> channels = process::Destination(lo_chan, fft_len / 2 + 1);
  const std::span<int32_t> weights = process::Destination(wt, fft_len / 2 + 1);
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
  const vask::DefaultFloatMode float_mode;
  if (m == nullptr || ready == nullptr) return;
  *ready = vask::IsUp(*m) && vask::ExtractFrame(*m, process::history, with_dynamics != 0) ? 1 : 0;
}

void global_cms_update(mfcc_prm* m) {
  const vask::DefaultFloatMode float_mode;
  if (m != nullptr && vask::IsUp(*m)) vask::UpdateMean(*m, process::mean_updates, Vask_epd_base_dir);
}

int32_t vask_read_global_cms(mfcc_prm* m) {
  return m != nullptr && vask::IsUp(*m) && vask::ReadMean(*m, Vask_epd_base_dir) ? 1 : 0;
}

int32_t vask_write_global_cms(const mfcc_prm* m) {
  if (m == nullptr || !vask::IsUp(*m)) return 0;
  return vask::WriteMean({m->cms, static_cast<size_t>(vask::kCepstra)}, Vask_epd_base_dir) ? 1 : 0;
}

}  // extern "C"
