// What a piece of code writes to the standard streams.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace vask::test {

struct Said {
  std::string out, err;
};

// Nothing may be asserted within `action`: the text of the failure would be captured too.
template <typename Action>
Said Hear(Action action) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  action();
  return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

}  // namespace vask::test
