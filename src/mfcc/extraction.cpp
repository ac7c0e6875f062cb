// power spectrum -> magnitudes, Q8 -> 23 mel channels -> natural logarithms, Q16 -> 13 cepstra, Q20 -> their
// derivatives, four frames later -> cepstral mean subtracted.
// Source: S. Davis, P. Mermelstein, IEEE Trans. ASSP 28(4), 1980.
#include "mfcc/extraction.h"

#include <algorithm>

#include "dsp/arith.h"
#include "dsp/logarithm.h"
#include "dsp/operators.h"
#include "dsp/regression.h"
#include "dsp/square_root.h"
#include "mfcc/tables.h"

namespace vask {
namespace {

constexpr float kUnitQ16 = 1.0f / 65536;

std::span<fir_filt> Bank(fir_filt* filters) { return {filters, kCepstra}; }

// Each bin is shared by the two channels whose centres enclose it. Magnitudes fit 31 bits; larger ones wrap.
void SumChannels(mfcc_prm& m) {
  std::fill_n(m.fbank, kMelChannels + 1, 0);
  for (int32_t k = std::max(m.klo, 0); k <= std::min(m.khi, m.bins - 1); ++k) {
    const int32_t lower = std::clamp(m.lo_chan[k], 0, kMelChannels);
    const int32_t share = Low32(MulShift<30>(m.spec[k], m.fbank_wt[k]));
    if (lower > 0) m.fbank[lower] += share;
    if (lower < kMelChannels) m.fbank[lower + 1] += WrapSub(Low32(m.spec[k]), share);
  }
}

// ln(energy / 256); energies below 1 count as 1.
void TakeLogarithms(mfcc_prm& m) {
  for (int32_t k = 1; k <= kMelChannels; ++k) {
    m.fbank[k] = AtLeastOne(m.fbank[k]);
    const auto energy = static_cast<float>(static_cast<double>(m.fbank[k]) / 256);
    m.lfbe[k] = Q<16>(static_cast<double>(NaturalLog(static_cast<double>(energy))));
  }
}

// The row for the environment check: the logarithms, then the logarithm of the sum of (energy / 1024)^2.
MelRow RowOf(const mfcc_prm& m) {
  MelRow row;
  float energy = 0.0f;
  for (int32_t k = 1; k <= kMelChannels; ++k) {
    row[static_cast<size_t>(k - 1)] = static_cast<float>(m.lfbe[k]) * kUnitQ16;
    const auto channel = static_cast<float>(static_cast<double>(m.fbank[k]) / 1024);
    energy += channel * channel;
  }
  row.back() = NaturalLog(static_cast<double>(energy));
  return row;
}

// While a stage primes, its history fills; the first frame fills all of it.
bool Prime(int32_t& state, std::span<fir_filt> bank, const int32_t* values) {
  if (state >= 0) return false;
  PushValues(bank, values);
  if (state == -2) {
    for (int32_t i = 0; i < 4; ++i) PushValues(bank, values);
  }
  ++state;
  return true;
}

// Each derivative lags its input by two frames: the output frame is that of four calls earlier.
bool Differentiate(mfcc_prm& m) {
  const std::span<fir_filt> delta = Bank(m.delta_filt), accel = Bank(m.accel_filt);
  if (Prime(m.delta_state, delta, m.cep)) return false;
  FilterValues(delta, m.cep, m.delta);
  if (Prime(m.accel_state, accel, m.delta)) return false;
  FilterValues(accel, m.delta, m.accel);
  for (size_t k = 0; k < delta.size(); ++k) {
    m.cep[k] = delta[k].hist[0];
    m.delta[k] = accel[k].hist[2];
  }
  return true;
}

void SubtractMean(mfcc_prm& m) {
  CountUp(m.frames);
  for (int32_t k = 0; k < kCepstra; ++k) {
    const Halves halves = SplitHalves(m.cep[k]);
    m.cms_sum_hi[k] = WrapAdd(m.cms_sum_hi[k], halves.high);
    m.cms_sum_lo[k] = WrapAdd(m.cms_sum_lo[k], halves.low);
    m.cep[k] = WrapSub(m.cep[k], m.cms[k]);
  }
}

}  // namespace

bool ExtractFrame(mfcc_prm& m, EnvironmentHistory& history, bool with_dynamics) {
  std::transform(m.spec, m.spec + m.bins, m.spec, RootQ8);
  SumChannels(m);
  TakeLogarithms(m);
  if (TakesMelRows(history)) NoteMelRow(history, RowOf(m));
  CosineTransform({m.lfbe + 1, kMelChannels}, {m.cep, kCepstra}, m.dct, m.dct_scale);
  if (with_dynamics && !Differentiate(m)) return false;
  SubtractMean(m);
  return true;
}

void CosineTransform(std::span<const int32_t> x, std::span<int32_t> y, const int32_t* basis_q30,
                     int32_t scale_q30) {
  for (int32_t& out : y) {
    int32_t sum = 0;
    for (const int32_t value : x) sum = WrapAdd(sum, Low32(MulShift<26>(*basis_q30++, value)));  // Q20
    out = Low32(MulShift<30>(sum, scale_q30));
  }
}

}  // namespace vask

extern "C" void DCT(const int32_t* x, int32_t* y, const int32_t* M, int32_t rows, int32_t cols,
                    int32_t scale) {
  if (x == nullptr || y == nullptr || M == nullptr || rows <= 0 || cols < 0) return;
  vask::CosineTransform({x + 1, static_cast<size_t>(cols)}, {y, static_cast<size_t>(rows)}, M, scale);
}
