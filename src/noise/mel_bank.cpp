// The mel filter bank: triangles over the smoothed spectrum (bins of 62.5 Hz), weights in Q30.
#include "noise/mel_bank.h"

#include <algorithm>
#include <array>
#if defined(__x86_64__)
#include <immintrin.h>
#endif

#include "dsp/arith.h"
#include "dsp/kernel.h"
#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/sizes.h"
#include "kb/coefficient_file.h"
#include "kb/paths.h"

#if VASK_HAS_NEON
#include "dsp/neon.h"
#endif

namespace vask {
namespace {

// The numbers of a table, one after the other.
class TableCursor {
 public:
  explicit TableCursor(std::span<const int32_t> table) : rest_(table) {}
  bool Read(int32_t& value) {
    if (rest_.empty()) return false;
    value = rest_.front();
    rest_ = rest_.subspan(1);
    return true;
  }

 private:
  std::span<const int32_t> rest_;
};

// How building the chain ended. kNoLaterRecord: no memory for a record after the second one; kNoMemory: none
// for anything else.
enum class Fill { kDone, kMalformed, kNoMemory, kNoLaterRecord };

template <typename Source>
Fill FillBand(mel_band& band, Source& source) {
  band = {};
  int32_t start = 0, count = 0;
  if (!source.Read(start) || !source.Read(count)) return Fill::kMalformed;
  if (start < 0 || count < 0 || start > kSmoothedBins || count > kSmoothedBins - start)
    return Fill::kMalformed;
  band.weights = NewZeroed<int32_t>(count);
  if (band.weights == nullptr) return Fill::kNoMemory;
  band.start = start;
  band.count = count;
  for (int32_t i = 0; i < count; ++i) {
    if (!source.Read(band.weights[i])) return Fill::kMalformed;
  }
  return Fill::kDone;
}

// Read, allocate and link one band after the other; on failure everything is released.
template <typename Source>
Fill BuildChain(mel_band& first, int32_t bands, Source& source) {
  Fill fill = FillBand(first, source);
  mel_band* last = &first;
  for (int32_t b = 1; fill == Fill::kDone && b < bands; ++b, last = last->next) {
    last->next = NewZeroed<mel_band>(1);
    if (last->next == nullptr) {
      fill = b == 1 ? Fill::kNoMemory : Fill::kNoLaterRecord;
      break;
    }
    fill = FillBand(*last->next, source);
  }
  if (fill != Fill::kDone) ReleaseMelBank(first, bands);
  return fill;
}

template <typename T>
void SumBandsPlain(const T* x, const mel_band& first, int64_t* sums) {
  for (const mel_band* band = &first; band != nullptr; band = band->next, ++sums) {
    int64_t sum = 0;
    for (int32_t i = 0; i < band->count; ++i)
      sum = WrapAdd(sum, MulShift<30>(x[band->start + i], band->weights[i]));
    *sums = sum;
  }
}

template <typename T>
void ReplaceBySums(T* x, const mel_band& first, const int64_t* sums) {
  for (const mel_band* band = &first; band != nullptr; band = band->next) *x++ = static_cast<T>(*sums++);
}

#if VASK_HAS_AVX2 || VASK_HAS_NEON
VASK_BEGIN_NEON
#if VASK_HAS_AVX2
// A product with 2^62 added is positive and can be shifted as such.
VASK_AVX2 inline int64_t SumOfFours(const int32_t* x, const int32_t* weights, int32_t n) {
  const __m256i bias = _mm256_set1_epi64x(int64_t{1} << 62);
  const auto* a = reinterpret_cast<const __m128i*>(x);
  const auto* b = reinterpret_cast<const __m128i*>(weights);
  __m256i sum = _mm256_setzero_si256();
  for (int32_t i = 0; i < n / 4; ++i) {
    const __m256i u = _mm256_cvtepi32_epi64(_mm_loadu_si128(a + i));
    const __m256i v = _mm256_cvtepi32_epi64(_mm_loadu_si128(b + i));
    sum = _mm256_add_epi64(sum, _mm256_srli_epi64(_mm256_add_epi64(_mm256_mul_epi32(u, v), bias), 30));
  }
  const __m128i two = _mm_add_epi64(_mm256_castsi256_si128(sum), _mm256_extracti128_si256(sum, 1));
  return _mm_cvtsi128_si64(_mm_add_epi64(two, _mm_unpackhi_epi64(two, two))) - (int64_t{n} << 32);
}
#else
inline int64_t SumOfFours(const int32_t* x, const int32_t* weights, int32_t n) {
  int64x2_t a = vdupq_n_s64(0), b = a;
  for (int32_t i = 0; i < n; i += 4) {
    const int32x4_t u = vld1q_s32(x + i), v = vld1q_s32(weights + i);
    a = vsraq_n_s64(a, vmull_s32(vget_low_s32(u), vget_low_s32(v)), 30);
    b = vsraq_n_s64(b, vmull_high_s32(u, v), 30);
  }
  return vaddvq_s64(vaddq_s64(a, b));
}
#endif

// Fours, then what is left without a loop, which compilers would vectorise again.
VASK_AVX2 void SumBandsByFours(const int32_t* x, const mel_band& first, int64_t* sums) {
  for (const mel_band* band = &first; band != nullptr; band = band->next, ++sums) {
    const int32_t n = std::max(band->count, 0), fours = n / 4 * 4;
    const int32_t *values = x + band->start, *weights = band->weights;
    const int32_t *u = values + fours, *v = weights + fours;
    int64_t sum = fours == 0 ? 0 : SumOfFours(values, weights, fours);
    if ((n & 1) != 0) sum += MulShift<30>(*u++, *v++);
    if ((n & 2) != 0) sum += MulShift<30>(u[0], v[0]) + MulShift<30>(u[1], v[1]);
    *sums = sum;
  }
}
VASK_END_NEON
#endif

}  // namespace

VASK_PICK(void, SumNarrowBands, (const int32_t* x, const mel_band& first, int64_t* sums), (x, first, sums),
          SumBandsPlain, SumBandsPlain, SumBandsByFours, SumBandsByFours)

bool BuildMelBank(mel_band& first, int32_t bands, std::span<const int32_t> table) {
  if (bands < 2) return false;
  TableCursor cursor(table);
  return BuildChain(first, bands, cursor) == Fill::kDone;
}

bool ReadMelBank(mel_band& first, int32_t bands, const char* base_dir) {
  char path[256];
  first = {};
  if (!JoinPath(path, base_dir, "mel_filt.txt")) return false;
  CoefficientFile file(path);
  if (!file.IsOpen()) {
    Say(Message::kFailure, "\nERROR: can't open [ %s ]\n", path);
    return false;
  }
  const Fill fill = bands < 2 ? Fill::kMalformed : BuildChain(first, bands, file);
  if (fill == Fill::kMalformed) Say(Message::kFailure, "\nERROR: short or malformed table [ %s ]\n", path);
  if (fill == Fill::kNoMemory) Say(Message::kFailure, "\nERROR:   Memory allocation error occured!\r\n");
  if (fill == Fill::kNoLaterRecord) Say(Message::kFailure, "ERROR:   Memory allocation error occured!\r\n");
  return fill == Fill::kDone;
}

void ReleaseMelBank(mel_band& first, int32_t bands) {
  mel_band* band = first.next;
  Release(first.weights);
  first.next = nullptr;
  for (int32_t b = 1; b < bands && band != nullptr; ++b) {
    mel_band* next = band->next;
    Release(band->weights);
    Release(band);
    band = next;
  }
}

void SumBands(int32_t* x, const mel_band& first, int64_t* sums) {
  SumNarrowBands(x, first, sums);
  ReplaceBySums(x, first, sums);
}

void SumBands(int64_t* x, const mel_band& first, int64_t* sums) {
  SumBandsPlain(x, first, sums);
  ReplaceBySums(x, first, sums);
}

void SumBands(std::span<int64_t> x, const mel_band& first, int64_t* sums) {
  std::array<int32_t, kSmoothedBins> narrow;
  int64_t bits = 0;
  const size_t bins = std::min(x.size(), narrow.size());
  for (size_t k = 0; k < bins; ++k) {
    bits |= x[k];
    narrow[k] = Low32(x[k]);
  }
  if (x.size() > bins || static_cast<uint64_t>(bits) > kMax32) return SumBands(x.data(), first, sums);
  SumNarrowBands(narrow.data(), first, sums);  // speed only
  ReplaceBySums(x.data(), first, sums);
}

}  // namespace vask

extern "C" {

int32_t InitMelFBFromSource(mel_band* first, int32_t n) {
  return first != nullptr && vask::BuildMelBank(*first, n, mel_filt_data) ? 1 : 0;
}

int32_t InitMelFB(mel_band* first, int32_t n) {
  return first != nullptr && vask::BuildMelBank(*first, n, mel_filt_data) ? 1 : 0;
}

void CloseMelFB(mel_band* first, int32_t n) {
  if (first != nullptr) vask::ReleaseMelBank(*first, n);
}

void DoMelFB(int32_t* x, mel_band* first, int64_t* scratch, int32_t /*nbins*/) {
  if (x != nullptr && first != nullptr && scratch != nullptr) vask::SumBands(x, *first, scratch);
}

void DoMelFB_int64(int64_t* x, mel_band* first, int64_t* scratch, int32_t /*nbins*/) {
  if (x != nullptr && first != nullptr && scratch != nullptr) vask::SumBands(x, *first, scratch);
}

}  // extern "C"
