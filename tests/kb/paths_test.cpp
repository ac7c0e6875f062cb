// Paths and texts fit whole or are refused.
#include "kb/paths.h"

#include <gtest/gtest.h>

namespace vask {
namespace {

TEST(Paths, AreBuiltWholeOrRefused) {
  char path[10] = "old";
  EXPECT_FALSE(JoinPath(path, "kb", "seg", ".pcm"));
  EXPECT_FALSE(JoinPath(path, nullptr, "b"));
  EXPECT_FALSE(JoinPath(path, "kb", nullptr));
  EXPECT_STREQ(path, "old");
  EXPECT_TRUE(JoinPath(path, "k", "seg", ".pcm"));
  EXPECT_STREQ(path, "k/seg.pcm");
  EXPECT_FALSE(CopyText(path, "1234567890"));
  EXPECT_FALSE(CopyText(path, nullptr));
  EXPECT_TRUE(CopyText(path, path + 1));
  EXPECT_TRUE(CopyText(path, path));  // onto itself
  EXPECT_STREQ(path, "/seg.pcm");
}

}  // namespace
}  // namespace vask
