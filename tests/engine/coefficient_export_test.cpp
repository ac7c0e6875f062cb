// The knowledge base that the library writes: whole, once, and as much of it as can be written.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "support/knowledge_base.h"

namespace vask::test {
namespace {

std::map<std::string, std::string> Files(const fs::path& dir) {
  std::map<std::string, std::string> files;
  for (const auto& entry : fs::recursive_directory_iterator(dir))
    files[fs::relative(entry.path(), dir)] = entry.is_directory() ? "" : ContentOf(entry.path());
  return files;
}

TEST(CoefficientExport, TouchesNothingWhereTheFirstTableIs) {
  const KnowledgeBase kb, fresh;
  EXPECT_EQ(Files(kb.dir()).size(), 12u);  // nine tables, two folders and the configuration
  kb.Write("cc1.txt", "1\n");
  fs::remove(kb.Table("ss1.txt"));
  const auto before = Files(kb.dir());
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 2);
  EXPECT_EQ(Files(kb.dir()), before);
  fs::remove(kb.Table("cc1.txt"));
  kb.Write("mel_filt.txt", "old\n");
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 1);
  EXPECT_EQ(Files(kb.dir()), Files(fresh.dir()));
}

TEST(CoefficientExport, SaysThatNotAllCouldBeWrittenAndWritesTheRest) {
  const KnowledgeBase kb;
  for (const char* name : {"cc1.txt", "ss3.txt", "loChan.txt"}) fs::remove(kb.Table(name));
  fs::create_directories(kb.Table("loChan.txt") / "in the way");
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 0);
  EXPECT_TRUE(fs::is_regular_file(kb.Table("ss3.txt")));
  const std::string file = kb.dir() / "config.Vask", long_name(300, 'x');
  for (const char* dir : {static_cast<const char*>(nullptr), "", file.c_str(), long_name.c_str(), "/none/x"})
    EXPECT_EQ(vask_make_coeff_files(dir), 0) << (dir == nullptr ? "null" : dir);
}

}  // namespace
}  // namespace vask::test
