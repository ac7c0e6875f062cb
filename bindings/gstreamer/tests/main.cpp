#include <gst/gst.h>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  gst_init(&argc, &argv);
  const int result = RUN_ALL_TESTS();
  gst_deinit();  // the tracer of leaks tells what is left
  return result;
}
