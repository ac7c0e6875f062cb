// What a stream takes from the heap.
#include <gtest/gtest.h>
#include <vask/vask.h>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
#include <malloc.h>

TEST(Footprint, OfAStreamIsBelowOneMegabyteOfHeap) {
  const size_t before = mallinfo2().uordblks;
  ASSERT_EQ(android_init_frontend(".", 2), 1);
  const size_t taken = mallinfo2().uordblks - before;
  android_stop_frontend();
  EXPECT_LT(taken, size_t{1} << 20);
  EXPECT_GT(taken, size_t{100000});  // the histories alone; else nothing was measured
  EXPECT_LT(mallinfo2().uordblks, before + 1000) << "kept after the stop";
  RecordProperty("bytes", static_cast<int>(taken));
  std::printf("%zu bytes\n", taken);
}
#endif
