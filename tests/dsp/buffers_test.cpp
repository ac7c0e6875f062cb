// Queues and rings of every width against a plain list of everything written.
#include <gtest/gtest.h>
#include <vask/buffers.h>

#include "support/inputs.h"

namespace {

using vask::test::Values;

template <typename Queue, typename T>
void CheckQueue(int32_t (*init)(Queue*, int32_t), void (*write)(const T*, Queue*, int32_t),
                int32_t (*read)(Queue*, T*, int32_t, int32_t), void (*clear)(Queue*), void (*close)(Queue*),
                const char* message) {
  Queue q = {};
  T got[9] = {};
  EXPECT_EQ(init(nullptr, 24) + init(&q, -1) + read(&q, got, 0, 0) + read(nullptr, got, 1, 1), 0);
  ASSERT_EQ(init(&q, 24), 1);
  std::mt19937 random(8);
  std::vector<T> written;
  for (size_t step = 0, next = 0; step < 2000; ++step) {
    if (written.size() - next <= 20) {  // blocks of 4 never cross the end
      for (int i = 0; i < 4; ++i) written.push_back(static_cast<T>(random()));
      write(&written.end()[-4], &q, 4);
    }
    const size_t n = random() % 9, advance = random() % (n + 1), count = next + n <= written.size() ? n : 0;
    ASSERT_EQ(read(&q, got, static_cast<int32_t>(n), static_cast<int32_t>(advance)), count == n)
        << "step " << step;
    ASSERT_TRUE(std::equal(got, got + count, &written[next])) << "step " << step << ", seed 8";
    if (count == n) next += advance;
    ASSERT_TRUE(q.write_pos - q.read_pos == static_cast<int32_t>(written.size() - next) && q.read_pos < 24)
        << step;
  }
  clear(&q);
  EXPECT_EQ(std::count(q.data, q.data + 24, 0) + q.read_pos + q.write_pos, 24);
  write(got, &q, 8), write(got, &q, -4), write(nullptr, &q, 4), write(got, nullptr, 4);
  EXPECT_EQ(read(&q, got, 8, 12), 1);  // skips beyond the writer: an error until it has caught up
  testing::internal::CaptureStdout();
  EXPECT_EQ(read(&q, got, 1, 1), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), message);
  for (int round = 0; round < 2; ++round) close(&q), clear(&q);
  EXPECT_EQ(q.data, nullptr);
}

TEST(Queue, GivesBackTheStreamForAnyReadAndAdvance) {
  const char error[] = "ERROR: Input Buffer Error\n", spectra[] = "\nERROR: Input Buffer Error\n";
  CheckQueue(init_sin_buff, write_sin_buff, ReadFromSIn_Buff, sin_buff_setting, close_sin_buff, error);
  CheckQueue(init_iin_buff, write_iin_buff, ReadFromIIn_Buff, iin_buff_setting, close_iin_buff, error);
  CheckQueue(init_in64_buff, write_in64_buff, ReadFromIIn64_Buff, in64_buff_setting, close_in64_buff,
             spectra);
}

TEST(Queue, RefusesABlockThatCrossesTheEndAndReadsAsQ31) {
  sin_buff q = {};
  ASSERT_EQ(init_sin_buff(&q, 8), 1);
  const int16_t block[9] = {-2, 1, 32767, -32768, 5, 6, 7, 8, 9};
  Values got(8);
  for (int32_t n : {9, 6, 3, 2}) write_sin_buff(block, &q, n);
  EXPECT_EQ(IReadFromSIn_Buff(&q, got.data(), 8, 8), 1);
  EXPECT_EQ(got, (Values{-131072, 65536, 2147418112, INT32_MIN, 5 << 16, 6 << 16, -131072, 65536}));
  EXPECT_EQ(q.read_pos, 8);  // this reader stands at the capacity, and reads slot 0 all the same
  write_sin_buff(block + 1, &q, 8);
  EXPECT_EQ(IReadFromSIn_Buff(&q, got.data(), 8, 1), 1);
  EXPECT_EQ((Values{got[0], q.read_pos, q.write_pos}), (Values{65536, 1, 8}));
  q.read_pos = q.write_pos = 2147483640;  // slot 0 of 8; nobody reads: the count starts again from this slot
  write_sin_buff(block, &q, 8);
  EXPECT_EQ((Values{q.data[0], q.read_pos, q.write_pos}), (Values{-2, 8, 16}));
  sin_buf silent = {q.data, 3, 4, 8};  // the reader that never reports
  int16_t sample = 0;
  EXPECT_EQ(read_sin_buf(&sample, &silent, 1, 1) + read_sin_buf(&sample, nullptr, 1, 1), 0);
  silent.write_pos = 6;
  EXPECT_EQ(read_sin_buf(&sample, &silent, 1, 2), 1);
  EXPECT_EQ((Values{sample, silent.read_pos}), (Values{5, 6}));
  close_sin_buff(&q);
}

// Blocks of 0 .. 12 values into a ring of 5: the last 5 stay, the oldest at index.
template <typename Ring, typename T>
void CheckRing(int32_t (*init)(Ring*, int32_t), void (*write)(Ring*, const T*, int32_t), void (*clear)(Ring*),
               void (*close)(Ring*), bool is_older) {
  Ring ring = {};
  std::mt19937 random(9);
  std::vector<T> written(5, 0);
  EXPECT_EQ(init(&ring, -1) + init(nullptr, 5), is_older ? 0 : 2);  // the older kind alone reports,
  write(&ring, written.data(), 1), clear(&ring);
  ASSERT_EQ(init(&ring, 5), 1);
  for (int step = 0; step < 300; ++step) {
    std::vector<T> block(random() % 13);
    for (T& value : block) written.push_back(value = static_cast<T>(random()));
    write(&ring, block.data(), static_cast<int32_t>(block.size()));
    ASSERT_EQ(ring.index, static_cast<int32_t>(written.size() % 5)) << "step " << step << ", seed 9";
    for (int i = 0; i < 5; ++i)
      ASSERT_EQ(ring.data[(ring.index + i) % 5], written.end()[i - 5]) << "step " << step;
  }
  write(&ring, written.data(), -1), write(&ring, nullptr, 1), write(nullptr, written.data(), 1);
  EXPECT_EQ(ring.index, static_cast<int32_t>(written.size() % 5));
  clear(&ring);
  EXPECT_EQ(std::count(ring.data, ring.data + 5, 0) + ring.index, 5);
  close(&ring);
  EXPECT_EQ(ring.data != nullptr, is_older);  // and keeps its pointer
}

TEST(Ring, KeepsTheNewestElements) {
  CheckRing(init_sring_buff, write_sring_buff, sring_buff_setting, close_sring_buff, false);
  CheckRing(init_iring_buff, write_iring_buff, iring_buff_setting, close_iring_buff, false);
  CheckRing(init_i64ring_buff, write_i64ring_buff, i64ring_buff_setting, close_i64ring_buff, false);
  const auto write = [](int64_rbuf* ring, const int64_t* src, int32_t n) {
    for (int32_t i = 0; src && i < n; ++i) write_int64_rbuf(ring, src[i]);
  };
  CheckRing<int64_rbuf, int64_t>(init_int64_rbuf, write, int64_rbuf_setting, close_int64_rbuf, true);
}

TEST(BufferUtilities, ShiftAndMeasure) {
  Values x = {1, 2, 3, 4, 5};
  IFrameShifting(x.data(), 5, 5), IFrameShifting(x.data(), -1, 5), IFrameShifting(x.data(), 2, 4);
  EXPECT_EQ(x, (Values{3, 4, 3, 4, 5}));
  FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file_size(file) + file_size(nullptr), 0);
  std::fputs("twelve bytes", file);
  EXPECT_EQ(file_size(file), 12);
  EXPECT_EQ(std::fgetc(file), 't');  // it stands at its start again
  std::fclose(file);
}

}  // namespace
