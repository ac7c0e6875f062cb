// The mel filter bank from its table and from files, valid and malformed.
#include "noise/mel_bank.h"

#include <gtest/gtest.h>
#include <vask/noise.h>

#include <algorithm>

#include "support/knowledge_base.h"

namespace vask::test {
namespace {

bool IsEmpty(const mel_band& bank) { return bank.weights == nullptr && bank.next == nullptr; }

TEST(MelBank, IsBuiltWholeOrNotAtAll) {
  mel_band bank = {};
  ASSERT_EQ(InitMelFB(&bank, 35), 1);
  Values numbers;
  for (const mel_band* band = &bank; band != nullptr; band = band->next) {
    numbers.insert(numbers.end(), {band->start, band->count});
    numbers.insert(numbers.end(), band->weights, band->weights + band->count);
  }
  EXPECT_EQ(numbers, Values(mel_filt_data, mel_filt_data + mel_filt_N));
  for (int round = 0; round < 2; ++round) CloseMelFB(&bank, 35);
  EXPECT_TRUE(IsEmpty(bank));
  EXPECT_EQ(InitMelFB(&bank, 1), 0);
  EXPECT_FALSE(BuildMelBank(bank, 35, {mel_filt_data, 292}));
  EXPECT_TRUE(IsEmpty(bank));
}

TEST(MelBank, IsReadFromAFileOrReportsThatItIsWrong) {
  const KnowledgeBase kb;
  const std::string dir = kb.Table("").string();
  const auto read = [&](const char* numbers, int32_t bands) {
    kb.Write("mel_filt.txt", numbers);
    mel_band bank;
    bool good = false;
    const std::string said = Hear([&] { good = ReadMelBank(bank, bands, dir.c_str()); }).out;
    EXPECT_EQ(said.find("ERROR:") == std::string::npos, good) << numbers;
    if (good) {
      EXPECT_EQ((Values{bank.weights[0], bank.next->count, bank.next->weights[1]}), (Values{5, 2, -8}))
          << numbers;
    }
    ReleaseMelBank(bank, bands);
    return good;
  };
  EXPECT_TRUE(read("0\n1\n5\n3\r\n2\n7\n-8\n", 2));
  EXPECT_TRUE(read("0\n1\n5\n127\n2\n7\n-8\n", 2));
  for (const char* numbers : {"0 1 5 128 2 7 8", "0 1 5 130 -1 7", "-1 1 5 1 1 5", "0 -1 5 1 1 5",
                              "0 1 5 1 2 7", "0 1 5 1 2 7 x", "0 130 5"})
    EXPECT_FALSE(read(numbers, 2)) << numbers;
  EXPECT_FALSE(read("0 1 5 1 1 6", 3));
  EXPECT_FALSE(read("0 1 5", 1));
}

}  // namespace
}  // namespace vask::test
