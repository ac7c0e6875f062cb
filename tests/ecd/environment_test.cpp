// Environment-change detection: no memory, and histories with arbitrary counters.
#include <gtest/gtest.h>
#include <unistd.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <initializer_list>
#include <tuple>

namespace {

// Standard output goes to standard error, since that is what a death test compares.
TEST(MatrixDeathTest, ASizeBeyondTheMemoryEndsTheProcessWithStatusZero) {
  const auto join = [] { dup2(STDERR_FILENO, STDOUT_FILENO), close(STDERR_FILENO); };
  const char message[] = "^Not enough memory : size = -1\n$";
  EXPECT_EXIT((join(), ecd_alloc(-1)), testing::ExitedWithCode(0), message);
  EXPECT_EXIT((join(), create_fvector(-1)), testing::ExitedWithCode(0), message);
  EXPECT_EXIT((join(), create_fvector(INT32_MAX / 4)), testing::ExitedWithCode(0), message);  // 2^31 bytes
  EXPECT_EXIT((join(), create_fmatrix(INT32_MAX, 0)), testing::ExitedWithCode(0), message);
}

TEST(Environment, WritesWithinTheHistoriesAndOnlyWhileItIsOn) {
  struct Case {
    int32_t enabled, written, slot, energy, next;
  };
  std::array<int16_t, 160> frame;
  const auto process = [&](std::initializer_list<int16_t> samples) {
    frame = {};
    std::copy(samples.begin(), samples.end(), frame.begin());
    Vask_epd_speechenhance(frame.data(), 160, nullptr, nullptr);
  };
  for (const Case& c : {Case{1, -1, 0, 3, 1}, Case{1, INT32_MIN, 0, 3, 1}, Case{1, 2047, 2047, 3, 2048},
                        Case{1, INT32_MAX, 2048, 3, INT32_MAX}, Case{0, 5, 5, 0, 5}}) {
    ASSERT_EQ(Vask_epd_init(".", 1), 1);
    for (int32_t t = 0; t < 2; ++t) process({1});  // the noise reduction fills its history
    std::fill(std::begin(frame_energy), std::end(frame_energy), 0);
    __Vask_epd_detect_env_change = c.enabled;
    ecdorgFrames = c.written;
    process({1, -1, 1});
    EXPECT_EQ(frame_energy[c.slot], c.energy) << c.written;
    EXPECT_EQ(ecdorgFrames, c.next) << c.written;
    for (int32_t call = 0; call < 2; ++call) __Vask_epd_ecd_Stop();
    EXPECT_EQ(ecdLFBE, nullptr);
    EXPECT_EQ(ecdorgLFBE, nullptr);
    process({2});  // without storage
    EXPECT_EQ(ecdorgFrames, c.next) << c.written;
    EXPECT_EQ(__Vask_epd_ecd_change(), -1) << c.written;
  }
  Vask_epd_stop();
}

TEST(Environment, ASampleAboveTheMaximumIsNotComparedWithTheMinimum) {
  ASSERT_EQ(Vask_epd_init(".", 1), 1);
  std::array<int16_t, 160> rising, falling;
  for (size_t i = 0; i < rising.size(); ++i) {
    rising[i] = static_cast<int16_t>(4 + i);
    falling[i] = static_cast<int16_t>(3 - i);
  }
  for (const auto& [samples, low, high] : {std::tuple{rising, 5, 163}, {falling, -156, 3}}) {
    sample_min = 5, sample_max = 3;  // out of order, as a caller can set them
    auto frame = samples;
    Vask_epd_speechenhance(frame.data(), 160, nullptr, nullptr);
    EXPECT_EQ(sample_min, low);
    EXPECT_EQ(sample_max, high);
  }
  Vask_epd_stop();
}

TEST(Environment, AnalysisMovesTheMostRecentLogEnergiesWhateverTheCountersSay) {
  struct Case {
    int32_t log_frames, mel_frames, first, moved;
  };
  for (const Case& c : {Case{100, 40, 60, 40}, Case{100, 100, 0, 0}, Case{40, 100, 0, 0}, Case{100, 0, 0, 0},
                        Case{2048, 2047, 1, 2047}, Case{9999, 40, 2008, 40}, Case{INT32_MAX, INT32_MAX, 0, 0},
                        Case{-7, 40, 0, 0}, Case{100, -1, 0, 0}}) {
    ASSERT_EQ(__Vask_epd_ecd_Init(), 1);
    for (int32_t i = 0; i < 2050; ++i) ecdorgLFBE[i] = static_cast<float>(i);
    ecdorgFrames = c.log_frames;
    ecdFrames = c.mel_frames;
    __Vask_epd_ecd_change();
    for (int32_t i = 0; i < 2050; ++i) {
      ASSERT_EQ(ecdorgLFBE[i], static_cast<float>(i < c.moved ? c.first + i : i))
          << c.log_frames << " and " << c.mel_frames << " frames, entry " << i;
    }
  }
  __Vask_epd_ecd_Stop();
}

}  // namespace
