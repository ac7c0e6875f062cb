// Every kernel, at every level of this machine, over silence, full scale, alternating samples, impulses,
// noise and speech: the values of the plain form.
#include "fast/kernels.h"

#include <gtest/gtest.h>

#include "support/levels.h"

namespace vask {
namespace {

using namespace kernels;

void Check(const NamedKernel& kernel) {
  for (const test::Input& input : test::Inputs(kInput, 60)) {
    Outputs plain;
    test::AtEachLevel([&](Level level) {
      Outputs outputs;
      Drive(kernel.kernel, input.samples, outputs);
      ASSERT_FALSE(outputs.empty()) << "nothing drives " << kernel.name;
      if (level == Level::kPlain) plain = outputs;
      ASSERT_EQ(outputs.size(), plain.size());
      for (size_t i = 0; i < plain.size(); ++i) {
        ASSERT_EQ(outputs[i], plain[i])
            << kernel.name << " at level " << NameOf(level) << ", " << input.name << ", value " << i;
      }
    });
    if (testing::Test::HasFatalFailure()) return;
  }
}

TEST(Kernels, GiveThePlainValuesAtEveryLevel) {
  for (const NamedKernel& kernel : kKernels) Check(kernel);
}

TEST(Level, IsOneOfThoseOfTheMachine) {
  EXPECT_EQ(LevelInForce(), LevelsHere().back());
  for (const char* name : {"", "unknown", "Plain", "avx512"}) EXPECT_FALSE(ForceLevel(name)) << name;
  EXPECT_EQ(LevelInForce(), LevelsHere().back());
  test::AtEachLevel([](Level level) {
    EXPECT_TRUE(ForceLevel(NameOf(level)));
    EXPECT_EQ(LevelInForce(), level);
  });
}

}  // namespace
}  // namespace vask
