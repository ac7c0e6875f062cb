// Coefficient files: what is written reads back, what is malformed is named, and no crash leaves half a file.
#include "kb/coefficient_file.h"

#include <gtest/gtest.h>

#include "support/knowledge_base.h"

namespace vask {
namespace {

using test::Hear, test::KnowledgeBase, test::Values;

TEST(CoefficientFile, NamesTheFileTheLineAndTheFault) {
  const std::string many_digits(70000, '1'), many_zeros(70000, '0'), blanks(70000, ' ');
  struct Case {
    const char* name;
    std::string text;
    Values read;        // of three
    const char* fault;  // after the file's name; null: none
  };
  const Case cases[] = {
      {"plain", "1\n-2\n+3\n", {1, -2, 3}, nullptr},
      {"CRLF", "1\r\n-2\r\n3\r\n", {1, -2, 3}, nullptr},
      {"no line end, more than is asked for", "1 2\t3 rest", {1, 2, 3}, nullptr},
      {"extremes", "2147483647\n-2147483648\n-0", {INT32_MAX, INT32_MIN, 0}, nullptr},
      {"long lines", many_zeros + "7\n" + blanks + "8\n9\n", {7, 8, 9}, nullptr},
      {"empty", "", {}, ", line 1: the table ends too early"},
      {"short", "1\n2\n", {1, 2}, ", line 3: the table ends too early"},
      {"letters", "1\n\n\ntwo\n3\n", {1}, ", line 4: not a number"},
      {"letters after a number", "1\n2x\n3\n", {1}, ", line 2: not a number"},
      {"a fraction", "1\n2.5\n3\n", {1}, ", line 2: not a number"},
      {"a sign alone", "-\n2\n3\n", {}, ", line 1: not a number"},
      {"two signs", "1\n--2\n", {1}, ", line 2: not a number"},
      {"a zero byte", std::string("1\n2\0\n3\n", 7), {1}, ", line 2: not a number"},
      {"beyond 32 bits", "1\n2147483648\n3\n", {1}, ", line 2: a number beyond 32 bits"},
      {"below 32 bits", "-2147483649\n", {}, ", line 1: a number beyond 32 bits"},
      {"beyond any width", "1\n2\n" + many_digits, {1, 2}, ", line 3: a number beyond 32 bits"},
  };
  const KnowledgeBase kb;
  const std::string path = kb.Table("x.txt");
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    kb.Write("x.txt", c.text);
    Values values(3, 99), expected = c.read;
    expected.resize(3, 99);
    bool good = false;
    const std::string message = Hear([&] {
                                  CoefficientFile file(path.c_str());
                                  good = file.ReadInto(values, INT32_MIN, INT32_MAX);
                                }).out;
    EXPECT_EQ(good, c.fault == nullptr);
    EXPECT_EQ(values, expected);
    EXPECT_EQ(message, good ? "" : "ERROR: " + path + c.fault + "\n");
  }
  kb.Write("x.txt", "5\n24\n");
  Values values(2);
  EXPECT_EQ(Hear([&] { EXPECT_FALSE(CoefficientFile(path.c_str()).ReadInto(values, 0, 23)); }).out,
            "ERROR: " + path + ", line 2: a number out of range\n");
  for (const test::fs::path& none : {kb.Table("none.txt"), kb.dir()})
    EXPECT_FALSE(CoefficientFile(none.c_str()).IsOpen()) << none;
}

TEST(CoefficientFile, LeavesTheOldFileWholeWhenTheNewOneCannotBeWritten) {
  const KnowledgeBase kb;
  const std::string path = kb.Table("x.txt"), beside = path + ".new";
  kb.Write("x.txt", "old\n");
  // A folder has the temporary name; a folder has the name itself; the parent folder is missing.
  test::fs::create_directory(beside);
  EXPECT_FALSE(WriteCoefficients(path.c_str(), Values{1}));
  test::fs::remove(beside);
  test::fs::create_directories(kb.Table("folder/in"));
  EXPECT_FALSE(WriteCoefficients(kb.Table("folder").c_str(), Values{1}));
  EXPECT_FALSE(test::fs::exists(kb.Table("folder.new")));
  EXPECT_FALSE(WriteCoefficients(kb.Table("none/x.txt").c_str(), Values{1}));
  EXPECT_EQ(kb.Read("x.txt"), "old\n");
  const Values extremes = {0, -1, INT32_MAX, INT32_MIN};
  EXPECT_TRUE(WriteCoefficients(path.c_str(), extremes));
  EXPECT_EQ(kb.Read("x.txt"), "0\n-1\n2147483647\n-2147483648\n");
}

TEST(CoefficientFile, StaysALinkAndKeepsItsMode) {
  const KnowledgeBase kb;
  const test::fs::path file = kb.dir() / "LOG" / "x.txt", link = kb.Table("x.txt");
  for (const test::fs::path& target : {file, test::fs::path("../LOG/x.txt"), test::fs::path("y.txt")}) {
    SCOPED_TRACE(target);
    test::fs::remove(link);
    test::fs::create_symlink(target, link);
    if (target == "y.txt") test::fs::create_symlink("../LOG/x.txt", kb.Table("y.txt"));
    for (const auto mode : {test::fs::perms(0640), test::fs::perms(0604)}) {
      const bool is_new = !test::fs::exists(file);  // the link leads nowhere yet
      if (!is_new) test::fs::permissions(file, mode);
      EXPECT_TRUE(WriteCoefficients(link.c_str(), Values{static_cast<int32_t>(mode)}));
      EXPECT_EQ(test::fs::read_symlink(link), target);
      EXPECT_EQ(test::ContentOf(file), std::to_string(static_cast<int32_t>(mode)) + "\n");
      EXPECT_TRUE(is_new || test::fs::status(file).permissions() == mode);
    }
  }
  test::fs::remove(link);
  test::fs::create_symlink("x.txt", link);  // in a circle
  EXPECT_FALSE(WriteCoefficients(link.c_str(), Values{1}));
}

}  // namespace
}  // namespace vask
