// Environment-change detection: memory that is missing, and histories whose counters say anything.
#include "ecd/environment.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <vask/ecd.h>

#include <cstdint>

#include "support/stream.h"

namespace vask::test {
namespace {

struct Detector : Stream {
  Detector() { EXPECT_EQ(InitEnvironment(environment, history), 1); }
  void Note(int32_t energy) {
    NoteEnergy(history, energy);
    NoteLogEnergy(history, energy);
  }
};

// The standard output takes the place of the standard error, which is what is compared.
TEST(MatrixDeathTest, ASizeThatNoMemoryMeetsEndsTheProcessWithSuccess) {
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
  for (const Case& c : {Case{1, -1, 0, 3, 1}, Case{1, INT32_MIN, 0, 3, 1}, Case{1, 2047, 2047, 3, 2048},
                        Case{1, INT32_MAX, 2048, 3, INT32_MAX}, Case{0, 5, 5, 0, 5}}) {
    Detector d;
    d.enabled = c.enabled;
    d.log_frames = c.written;
    d.Note(3);
    EXPECT_EQ(d.energies[static_cast<size_t>(c.slot)], c.energy) << c.written;
    EXPECT_EQ(d.log_frames, c.next) << c.written;
    for (int32_t call = 0; call < 2; ++call) StopEnvironment(d.environment, d.history);
    EXPECT_TRUE(d.mel_energies == nullptr && d.log_energies == nullptr);
    d.Note(6);  // without storage
    EXPECT_EQ(d.log_frames, c.next) << c.written;
    EXPECT_EQ(AnalyzeChange(d.environment, d.history), -1);
  }
}

TEST(Environment, AnalysisMovesTheMostRecentLogEnergiesWhateverTheCountersSay) {
  struct Case {
    int32_t log_frames, mel_frames, first, moved;
  };
  for (const Case& c : {Case{100, 40, 60, 40}, Case{100, 100, 0, 0}, Case{40, 100, 0, 0}, Case{100, 0, 0, 0},
                        Case{2048, 2047, 1, 2047}, Case{9999, 40, 2008, 40}, Case{INT32_MAX, INT32_MAX, 0, 0},
                        Case{-7, 40, 0, 0}, Case{100, -1, 0, 0}}) {
    Detector d;
    for (int32_t i = 0; i < 2050; ++i) d.log_energies[i] = static_cast<float>(i);
    d.log_frames = c.log_frames;
    d.mel_frames = c.mel_frames;
    AnalyzeChange(d.environment, d.history);
    for (int32_t i = 0; i < 2050; ++i) {
      ASSERT_EQ(d.log_energies[i], static_cast<float>(i < c.moved ? c.first + i : i))
          << c.log_frames << " and " << c.mel_frames << " frames, entry " << i;
    }
  }
}

}  // namespace
}  // namespace vask::test
