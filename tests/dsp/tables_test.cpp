// The built-in tables: the stored values are those of the recipes.
#include <gtest/gtest.h>
#include <vask/dsp.h>
#include <vask/mfcc.h>
#include <vask/noise.h>

#include <vector>

#include "dsp/tables/ear.h"
#include "dsp/tables/logarithm.h"
#include "dsp/tables/low_pass.h"
#include "dsp/tables/mel_idct.h"
#include "dsp/tables/square_root.h"
#include "dsp/tables/windows.h"

namespace vask {
namespace {

using Values = std::vector<int32_t>;

template <typename Table>
Values ValuesOf(const Table& table) {
  return Values(std::begin(table), std::end(table));
}

// CRC-32 (reflected, 0xEDB88320) of the values as little-endian 32-bit words.
uint32_t Crc32(const Values& values) {
  uint32_t crc = ~0u;
  for (int32_t value : values) {
    for (int bit = 0; bit < 32; ++bit) {
      const uint32_t in = static_cast<uint32_t>(value) >> bit & 1;
      crc = crc >> 1 ^ ((crc ^ in) & 1 ? 0xEDB88320u : 0);
    }
  }
  return ~crc;
}

// Count and CRC were computed from the recipes by a program other than the generator.
TEST(Tables, HoldTheValuesOfTheirRecipes) {
  struct Case {
    const char* name;
    Values values;
    size_t count;
    uint32_t crc;
  };
  Values basis;
  for (const auto& tap : kMelIdctBasisQ30) basis.insert(basis.end(), tap.begin(), tap.end());
  const Case cases[] = {
      {"cc1", ValuesOf(cc1_data), 120, 0x928d9463},
      {"ss1", ValuesOf(ss1_data), 120, 0x2e13bf7d},
      {"cc3", ValuesOf(cc3_data), 120, 0x30a87e22},
      {"ss3", ValuesOf(ss3_data), 120, 0x3ce387dd},
      {"mel_filt", ValuesOf(mel_filt_data), 293, 0x1d7d59b6},
      {"lower channel", ValuesOf(loChan_data), 256, 0xf786d6fc},
      {"channel weight", ValuesOf(InitFBank_data), 256, 0x0b0dded4},
      {"cepstrum basis", ValuesOf(InitDCTMatrix_data), 299, 0xa6523f85},
      {"pre-emphasis", ValuesOf(pre_emph_data), 257, 0x816a343f},
      {"hanning", ValuesOf(kHanningQ30), 400, 0x08058af7},
      {"hamming", ValuesOf(kHammingQ30), 320, 0x141acbef},
      {"filter window", ValuesOf(kFilterWindowQ30), 24, 0x7fecce73},
      {"ear weight", ValuesOf(kEarWeightQ30), 129, 0x592e942d},
      {"mel IDCT", basis, 1225, 0x78ccb4a2},
      {"log2", ValuesOf(kLog2Q30), 1025, 0x171aa1ad},
      {"fraction log2", ValuesOf(kFractionLog2Q26), 1025, 0x7a2abd19},
      {"square root", ValuesOf(kSquareRootQ30), 1025, 0x8bb2fe6b},
      {"inverse root", ValuesOf(kInverseRootQ15), 49, 0x82b6e58c},
      {"short log2", ValuesOf(kShortLog2Q15), 33, 0xc3bcb6ad},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(c.values.size(), c.count) << c.name;
    EXPECT_EQ(Crc32(c.values), c.crc) << c.name;
  }
  for (int32_t count : {cc1_N, ss1_N, cc3_N, ss3_N}) EXPECT_EQ(count, 120);
  EXPECT_EQ(mel_filt_N, 293);
  EXPECT_EQ(loChan_N, 256);
  EXPECT_EQ(InitFBank_N, 256);
  EXPECT_EQ(InitDCTMatrix_N, 299);
  EXPECT_EQ(pre_emph_N, 257);
}

// Those of the resampler are as the generator made them once; what the filters do is measured in its own
// test.
TEST(Tables, HoldTheFiltersThatWereDesignedOnce) {
  EXPECT_EQ(Crc32(ValuesOf(kLowPassQ24)), 0x02eb8b14);
  EXPECT_EQ(Crc32(ValuesOf(kHalfBandQ16)), 0x0ff9d517);
}

}  // namespace
}  // namespace vask
