// What a stream takes from the heap.
#include <gtest/gtest.h>
#include <vask/vask.h>

#if defined(__GLIBC__) && !defined(__SANITIZE_ADDRESS__)
#include <malloc.h>

TEST(Footprint, OfAStreamIsBelowOneMegabyteOfHeap) {
  ASSERT_EQ(android_init_frontend(".", 2), 1);  // what the C library itself keeps from then on
  android_stop_frontend();
  const size_t before = mallinfo2().uordblks;
  ASSERT_EQ(android_init_frontend(".", 2), 1);
  const size_t taken = mallinfo2().uordblks - before;
  android_stop_frontend();
  EXPECT_LT(taken, size_t{1} << 20);
  EXPECT_GT(taken, size_t{100000});  // the histories alone; else nothing was measured
  EXPECT_LT(mallinfo2().uordblks, before + 10000) << "kept after the stop";
}
#endif
