// The knowledge base that the library writes, and that its readers take it for the built-in tables.
#include <gtest/gtest.h>
#include <vask/mfcc.h>
#include <vask/noise.h>

#include <algorithm>
#include <cstdlib>
#include <map>

#include "support/knowledge_base.h"

namespace vask::test {
namespace {

std::map<std::string, std::string> Files(const fs::path& dir) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(dir)) {
    std::ifstream file(entry.path(), std::ios::binary);
    files[fs::relative(entry.path(), dir)] =
        entry.is_directory() ? "" : std::string(std::istreambuf_iterator<char>(file), {});
  }
  return files;
}

TEST(CoefficientExport, WritesNineTablesAndAConfiguration) {
  const KnowledgeBase kb;
  const auto files = Files(kb.dir());
  const std::map<std::string, long> lines = {{"cc1", 120},           {"cc3", 120},       {"ss1", 120},
                                             {"ss3", 120},           {"loChan", 256},    {"pre_emph", 257},
                                             {"InitDCTMatrix", 299}, {"InitFBank", 256}, {"mel_filt", 293}};
  EXPECT_EQ(files.size(), lines.size() + 3);  // two folders and the configuration
  EXPECT_TRUE(fs::is_directory(kb.dir() / "LOG"));
  for (const auto& [name, count] : lines) {
    const std::string& text = files.at("Vask.db/" + name + ".txt");
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), count) << name;
  }
  EXPECT_EQ(files.at("config.Vask"),
            "<BEGIN_VASK_CONFIG>\nVask_KWS: N\nVask_GENBEAM: 9600\nVask_CROSS_WORD: N\nVask_NBEST: 5\n"
            "Vask_LOUDNESS: 10\nVask_SENSITIVITY: y\n<END_VASK_CONFIG>\n");
  EXPECT_EQ(Printed([&] { __check_Vask_Config__(kb.dir().c_str()); }),
            "  Vask EPD: Checking Config: " + kb.dir().string() +
                "/config.Vask\n  Vask Loud Definition = 10\n  Vask Sensitivity = high\n");
}

TEST(CoefficientExport, ReadsBackAsTheBuiltInTables) {
  const KnowledgeBase kb;
  mfcc_prm read, built_in;
  mel_band bank_read, bank_built_in;
  Printed([&] { ASSERT_EQ(init_mfcc_prm(&read, 512), 1); });
  ASSERT_EQ(vask_init_mfcc_prm(&built_in), 1);
  EXPECT_TRUE(std::equal(read.lo_chan, read.lo_chan + 257, built_in.lo_chan));
  EXPECT_TRUE(std::equal(read.fbank_wt, read.fbank_wt + 257, built_in.fbank_wt));
  EXPECT_TRUE(std::equal(read.dct, read.dct + 299, built_in.dct));
  close_mfcc_prm(&read);
  close_mfcc_prm(&built_in);
  ASSERT_EQ(InitMelFBFromFile(&bank_read, 35), 1);
  ASSERT_EQ(InitMelFBFromSource(&bank_built_in, 35), 1);
  for (mel_band *a = &bank_read, *b = &bank_built_in; a != nullptr; a = a->next, b = b->next)
    EXPECT_TRUE(a->start == b->start && std::equal(a->weights, a->weights + a->count, b->weights));
  CloseMelFB(&bank_read, 35);
  CloseMelFB(&bank_built_in, 35);
}

TEST(CoefficientExport, TouchesNothingWhereTheFirstTableIs) {
  const KnowledgeBase kb;
  kb.Write("cc1.txt", "1\n");
  fs::remove(kb.Table("ss1.txt"));
  const auto before = Files(kb.dir());
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 2);
  EXPECT_EQ(Files(kb.dir()), before);
  fs::remove(kb.Table("cc1.txt"));
  kb.Write("mel_filt.txt", "old\n");
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 1);
  const KnowledgeBase fresh;
  EXPECT_EQ(Files(kb.dir()), Files(fresh.dir()));
}

TEST(CoefficientExport, SaysThatNotAllCouldBeWrittenAndWritesTheRest) {
  const KnowledgeBase kb;
  fs::remove(kb.Table("cc1.txt"));
  fs::remove(kb.Table("ss3.txt"));
  fs::remove(kb.Table("loChan.txt"));
  fs::create_directories(kb.Table("loChan.txt") / "in the way");
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 0);
  EXPECT_TRUE(fs::is_regular_file(kb.Table("ss3.txt")));
  const std::string file = kb.dir() / "config.Vask", long_name(300, 'x');
  for (const char* dir : {static_cast<const char*>(nullptr), "", file.c_str(), long_name.c_str(), "/none/x"})
    EXPECT_EQ(vask_make_coeff_files(dir), 0) << (dir == nullptr ? "null" : dir);
}

}  // namespace
}  // namespace vask::test
