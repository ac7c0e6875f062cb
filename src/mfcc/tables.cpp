#include "mfcc/tables.h"

#include <vask/mfcc.h>

#include "dsp/arith.h"
#include "dsp/float_mode.h"
#include "dsp/logarithm.h"
#include "dsp/message.h"
#include "dsp/portable_math.h"
#include "kb/coefficient_file.h"
#include "kb/paths.h"
#include "kb/text_file.h"

namespace vask {
namespace {

bool ReadTable(const char* base_dir, const char* name, std::span<int32_t> values, int32_t low, int32_t high) {
  char path[256];
  if (!JoinPath(path, base_dir, name)) return false;
  CoefficientFile file(path);
  if (file.IsOpen()) return file.ReadInto(values, low, high);
  Say(Message::kFailure, "ERROR: %s not found\n", path);
  return false;
}

}  // namespace

bool HasPreEmphasisFile(const char* base_dir) {
  char path[256];
  FILE* file = JoinPath(path, base_dir, "pre_emph.txt") ? OpenText(path) : nullptr;
  if (file == nullptr) {
    Say(Message::kFailure, "ERROR: pre_emph.txt not found\n");
    return false;
  }
  std::fclose(file);
  return true;
}

bool ReadChannels(const char* base_dir, std::span<int32_t> lo_chan, std::span<int32_t> weights_q30) {
  return ReadTable(base_dir, "InitFBank.txt", weights_q30, kMin32, kMax32) &&
         ReadTable(base_dir, "loChan.txt", lo_chan, 0, kMelChannels);
}

bool ReadCepstrumBasis(const char* base_dir, std::span<int32_t> basis_q30) {
  return ReadTable(base_dir, "InitDCTMatrix.txt", basis_q30, kMin32, kMax32);
}

float MelOfBin(int32_t bin, float resolution) {
  const float steps = static_cast<float>(int64_t{bin} - 1) * resolution;
  return static_cast<float>(1127 * NaturalLogWide(1 + static_cast<double>(steps)));
}

}  // namespace vask

extern "C" float Melf(int32_t k, float r) {
  const vask::DefaultFloatMode float_mode;
  return vask::MelOfBin(k, r);
}
