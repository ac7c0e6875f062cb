// Queues at their limits: the end of the storage, positions about to overflow, skips past the writer.
#include <gtest/gtest.h>
#include <vask/buffers.h>

#include "support/capture.h"
#include "support/inputs.h"

namespace vask::test {
namespace {

TEST(Queue, RefusesABlockThatCrossesTheEndAndKeepsCountingWhenNobodyReads) {
  sin_buff q = {};
  ASSERT_EQ(init_sin_buff(&q, 8), 1);
  const int16_t block[9] = {-2, 1, 32767, -32768, 5, 6, 7, 8, 9};
  Values got(8);
  for (int32_t n : {9, 6, 3, 2}) write_sin_buff(block, &q, n);
  EXPECT_EQ(IReadFromSIn_Buff(&q, got.data(), 8, 8), 1);
  EXPECT_EQ(got, (Values{-131072, 65536, 2147418112, INT32_MIN, 5 << 16, 6 << 16, -131072, 65536}));
  EXPECT_EQ(q.read_pos, 8);  // this reader is at the capacity and still reads slot 0
  write_sin_buff(block + 1, &q, 8);
  EXPECT_EQ(IReadFromSIn_Buff(&q, got.data(), 8, 1), 1);
  EXPECT_EQ((Values{got[0], q.read_pos, q.write_pos}), (Values{65536, 1, 8}));
  q.read_pos = q.write_pos = 2147483640;  // slot 0 of 8: the count starts again from this slot
  write_sin_buff(block, &q, 8);
  EXPECT_EQ((Values{q.data[0], q.read_pos, q.write_pos}), (Values{-2, 8, 16}));
  int16_t samples[8] = {};
  EXPECT_EQ(ReadFromSIn_Buff(&q, samples, 8, 12), 1);  // past the writer: an error until it catches up
  EXPECT_EQ(Hear([&] { ReadFromSIn_Buff(&q, samples, 1, 1); }).out, "ERROR: Input Buffer Error\n");
  for (int round = 0; round < 2; ++round) close_sin_buff(&q), sin_buff_setting(&q);
  EXPECT_EQ(q.data, nullptr);
}

TEST(Frames, MoveToTheFrontFromWithinTheBuffer) {
  for (const auto& [shift, after] : {std::pair{0, Values{1, 2, 3}},
                                     {1, {2, 3, 3}},
                                     {2, {3, 2, 3}},
                                     {3, {1, 2, 3}},
                                     {-1, {1, 2, 3}},
                                     {INT32_MIN, {1, 2, 3}}}) {
    Values buffer = {1, 2, 3};
    IFrameShifting(buffer.data(), shift, 3);
    EXPECT_EQ(buffer, after) << "by " << shift;
  }
}

}  // namespace
}  // namespace vask::test
