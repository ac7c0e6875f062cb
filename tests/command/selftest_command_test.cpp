// `vask selftest`: digests of every stage, the same at every level.
#include "command/command.h"
#include "dsp/level.h"

namespace vask::test {
namespace {

using Selftest = Command;

TEST_F(Selftest, GivesTheSameBitsAtEveryLevel) {
  const Outcome list = Run({"selftest", "--list"});
  EXPECT_EQ(list.exit_code, 0);
  EXPECT_GT(std::count(list.out.begin(), list.out.end(), '\n'), 20);
  for (const Level level : LevelsHere()) {
    const std::string name = NameOf(level),
                      digests = std::to_string(std::count(list.out.begin(), list.out.end(), '\n')),
                      verdict = digests + " digests: the same bits as everywhere (level " + name + ")\n";
    const Outcome all = Run({"--cpu", name, "selftest"}), quiet = Run({"selftest", "-q", "--cpu", name});
    EXPECT_EQ(all.exit_code, 0) << name;
    EXPECT_EQ(all.out, list.out + verdict);
    EXPECT_EQ(quiet.out, verdict);
    EXPECT_EQ(all.err + quiet.err, "");
  }
}

}  // namespace
}  // namespace vask::test
