// The mel filter bank: triangles over the smoothed spectrum (bins of 62.5 Hz), weights in Q30.
#include "noise/mel_bank.h"

#include "dsp/memory.h"
#include "dsp/message.h"
#include "dsp/sizes.h"
#include "kb/coefficient_file.h"
#include "kb/paths.h"

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

}  // namespace

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
    Say(stdout, "\nERROR: can't open [ %s ]\n", path);
    return false;
  }
  const Fill fill = bands < 2 ? Fill::kMalformed : BuildChain(first, bands, file);
  if (fill == Fill::kMalformed) Say(stdout, "\nERROR: short or malformed table [ %s ]\n", path);
  if (fill == Fill::kNoMemory) Say(stdout, "\nERROR:   Memory allocation error occured!\r\n");
  if (fill == Fill::kNoLaterRecord) Say(stdout, "ERROR:   Memory allocation error occured!\r\n");
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
