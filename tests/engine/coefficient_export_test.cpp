// The knowledge base that the library writes: complete, only once, and as much of it as can be written.
#include "engine/coefficient_export.h"

#include <gtest/gtest.h>
#include <vask/noise.h>

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

TEST(CoefficientExport, WritesWhatIsMissingAndNothingElse) {
  const KnowledgeBase kb, fresh;
  EXPECT_EQ(Files(kb.dir()).size(), 12u);  // nine tables, two folders and the configuration
  kb.Write("mel_filt.txt", "old\n");
  const auto expected = Files(kb.dir());
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 2);
  for (const char* name : {"Vask.db/cc1.txt", "Vask.db/ss1.txt", "config.Vask"}) {
    fs::remove(kb.dir() / name);
    EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 1) << name;
    EXPECT_EQ(Files(kb.dir()), expected) << name;
  }
  // What the first call on a device does: write everything, or nothing if the first table exists.
  const NamedTable tables[] = {{"cc1.txt", cc1_data}, {"mel_filt.txt", mel_filt_data}};
  fs::remove(kb.dir() / "config.Vask");
  EXPECT_EQ(ExportCoefficients(kb.dir().c_str(), tables), Export::kThereAlready);
  EXPECT_FALSE(fs::exists(kb.dir() / "config.Vask"));
  fs::remove(kb.Table("cc1.txt"));
  EXPECT_EQ(ExportCoefficients(kb.dir().c_str(), tables), Export::kWritten);
  EXPECT_EQ(Files(kb.dir()), Files(fresh.dir()));
}

TEST(CoefficientExport, ReportsThatNotAllCouldBeWrittenAndWritesTheRest) {
  const KnowledgeBase kb;
  for (const char* name : {"cc1.txt", "ss3.txt", "loChan.txt"}) fs::remove(kb.Table(name));
  fs::create_directories(kb.Table("loChan.txt") / "in the way");
  for (int call = 0; call < 2; ++call) EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 0);
  EXPECT_TRUE(fs::is_regular_file(kb.Table("ss3.txt")));
  fs::remove_all(kb.Table("loChan.txt"));
  EXPECT_EQ(vask_make_coeff_files(kb.dir().c_str()), 1);
  EXPECT_TRUE(fs::is_regular_file(kb.Table("loChan.txt")));
  const std::string file = kb.dir() / "config.Vask", long_name(300, 'x');
  for (const char* dir : {static_cast<const char*>(nullptr), "", file.c_str(), long_name.c_str(), "/none/x"})
    EXPECT_EQ(vask_make_coeff_files(dir), 0) << (dir == nullptr ? "null" : dir);
}

}  // namespace
}  // namespace vask::test
