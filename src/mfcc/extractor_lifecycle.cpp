#include "mfcc/extractor_lifecycle.h"

#include <algorithm>
#include <iterator>

#include "dsp/float_mode.h"
#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/regression.h"
#include "dsp/sizes.h"
#include "mfcc/tables.h"

namespace vask {
namespace {

constexpr int32_t kFirstBin = 2, kLastBin = 256;
constexpr int32_t kDctScaleQ30 = 316629189;  // sqrt(2 / 23)
constexpr int32_t kDerivativeTaps = 5;
constexpr int32_t kPrimingFrames = 2;  // for which the history of a derivative waits

constexpr int32_t* mfcc_prm::*kCoefficients[] = {
    &mfcc_prm::cep,     &mfcc_prm::delta, &mfcc_prm::accel,      &mfcc_prm::cms_new,
    &mfcc_prm::cms_utt, &mfcc_prm::cms,   &mfcc_prm::cms_sum_hi, &mfcc_prm::cms_sum_lo};

std::span<int32_t> FromBinOne(int32_t* bins) { return {bins + 1, kFftSize / 2}; }

bool Allocate(mfcc_prm& m) {
  m.lfbe = NewZeroed<int32_t>(kMelChannels + 1);
  m.fbank = NewZeroed<int64_t>(m.bins);
  m.spec = NewZeroed<int64_t>(m.bins);
  m.fbank_wt = NewZeroed<int32_t>(m.bins);
  m.lo_chan = NewZeroed<int32_t>(m.bins);
  m.dct = NewZeroed<int32_t>(kCepstra * kMelChannels);
  bool all = m.lfbe && m.fbank && m.spec && m.fbank_wt && m.lo_chan && m.dct;
  for (int32_t* mfcc_prm::*coefficients : kCoefficients) {
    m.*coefficients = NewZeroed<int32_t>(kCepstra);
    all = all && m.*coefficients != nullptr;
  }
  for (fir_filt* mfcc_prm::*bank : {&mfcc_prm::delta_filt, &mfcc_prm::accel_filt}) {
    m.*bank = NewZeroed<fir_filt>(kCepstra);
    all = all && m.*bank != nullptr && CreateRegressions({m.*bank, kCepstra}, kDerivativeTaps);
  }
  return all;
}

// Zeroed storage and constants; the tables are left to `fill`.
template <typename Fill>
bool Create(mfcc_prm& m, Fill fill) {
  m = {};
  m.klo = kFirstBin;
  m.khi = kLastBin;
  m.dct_scale = kDctScaleQ30;
  m.bins = kSpectrumBins;
  StartUtterance(m);
  const bool has_storage = Allocate(m);
  if (!has_storage) Say(Message::kFailure, "ERROR: can't init. MFCC parameters\n");
  if (has_storage && fill()) return true;
  ReleaseExtractor(m);
  return false;
}

}  // namespace

bool CreateExtractor(mfcc_prm& m, int32_t points, const char* base_dir) {
  m = {};
  if (!HasPreEmphasisFile(base_dir)) return false;
  if (points != kFftSize) {
    Say(Message::kFailure, "ERROR: MFCC with an FFT of %d points, not %d\n", points, kFftSize);
    return false;
  }
  return Create(m, [&] {
    return ReadChannels(base_dir, FromBinOne(m.lo_chan), FromBinOne(m.fbank_wt)) &&
           ReadCepstrumBasis(base_dir, {m.dct, kCepstra * kMelChannels});
  });
}

bool CreateExtractor(mfcc_prm& m) {
  return Create(m, [&] {
    std::copy(std::begin(loChan_data), std::end(loChan_data), FromBinOne(m.lo_chan).begin());
    std::copy(std::begin(InitFBank_data), std::end(InitFBank_data), FromBinOne(m.fbank_wt).begin());
    std::copy(std::begin(InitDCTMatrix_data), std::end(InitDCTMatrix_data), m.dct);
    return true;
  });
}

bool IsUp(const mfcc_prm& m) { return m.accel_filt != nullptr; }

void StartUtterance(mfcc_prm& m) {
  m.frames = 0;
  m.delta_state = m.accel_state = -kPrimingFrames;
}

void ReleaseExtractor(mfcc_prm& m) {
  for (fir_filt* mfcc_prm::*bank : {&mfcc_prm::delta_filt, &mfcc_prm::accel_filt}) {
    if (m.*bank != nullptr) ReleaseRegressions({m.*bank, kCepstra});
    Release(m.*bank);
  }
  for (int32_t* mfcc_prm::*coefficients : kCoefficients) Release(m.*coefficients);
  Release(m.lfbe);
  Release(m.fbank);
  Release(m.spec);
  Release(m.fbank_wt);
  Release(m.lo_chan);
  Release(m.dct);
}

}  // namespace vask

extern "C" {

int32_t vask_init_mfcc_prm(mfcc_prm* m) {
  const vask::DefaultFloatMode float_mode;
  return m != nullptr && vask::CreateExtractor(*m) ? 1 : 0;
}

void close_mfcc_prm(mfcc_prm* m) {
  if (m != nullptr) vask::ReleaseExtractor(*m);
}

}  // extern "C"
