// Environment-change detection: self-describing matrices, the histories and their alignment, control calls.

#include "ecd/environment.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <vask/ecd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

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

TEST(Matrix, DescribesItselfBeforeItsFirstRowAndElements) {
  for (const auto& [rows, columns] : {std::pair(5, 23), {10, 23}, {2050, 24}, {1, 1}, {3, 0}, {0, 7}}) {
    const fmatrix m = create_fmatrix(rows, columns);
    EXPECT_EQ(std::vector<float>(m[-1] - 1, m[-1] + 3),
              (std::vector<float>{3, 0, static_cast<float>(rows), static_cast<float>(columns)}));
    EXPECT_EQ(fmatrix_rows(m), rows);
    EXPECT_EQ(fmatrix_cols(m), columns);
    for (int32_t i = 0; i < rows; ++i) std::fill_n(m[i], columns, 2.5f);
    zero_fmatrix(m);
    for (int32_t i = 0; i < rows; ++i) {
      EXPECT_EQ(m[i][-1], static_cast<float>(columns)) << "row " << i;
      EXPECT_EQ(std::count(m[i], m[i] + columns, 0.0f), columns) << "row " << i;
    }
    free_fmatrix(m);
  }
}

TEST(Matrix, CopiesCountedElementsAndTakesNullAsEmpty) {
  float from[] = {1, 2, 3}, to[] = {0, 0, 0};
  for (const int32_t n : {1, 0, -1}) copy_fvector(from, to, n);
  copy_fvector(nullptr, to, 1);
  copy_fvector(from, nullptr, 1);
  EXPECT_EQ(std::vector<float>(to, to + 3), (std::vector<float>{1, 0, 0}));
  zero_fmatrix(nullptr);
  free_fmatrix(nullptr);
  free_fvector(nullptr);
  free_env_change_detect(nullptr);
  EXPECT_EQ(fmatrix_rows(nullptr) + fmatrix_cols(nullptr), 0);
}

// The standard output takes the place of the standard error, which is what is compared.
TEST(MatrixDeathTest, ASizeThatNoMemoryMeetsEndsTheProcessWithSuccess) {
  const auto join = [] { dup2(STDERR_FILENO, STDOUT_FILENO), close(STDERR_FILENO); };
  const char message[] = "^Not enough memory : size = -1\n$";
  EXPECT_EXIT((join(), ecd_alloc(-1)), testing::ExitedWithCode(0), message);
  EXPECT_EXIT((join(), create_fvector(-1)), testing::ExitedWithCode(0), message);
  EXPECT_EXIT((join(), create_fvector(INT32_MAX / 4)), testing::ExitedWithCode(0), message);  // 2^31 bytes
  EXPECT_EXIT((join(), create_fmatrix(INT32_MAX, 0)), testing::ExitedWithCode(0), message);
}

TEST(Environment, HistoriesTakeTwoThousandAndFortyEightFrames) {
  Detector d;
  for (int32_t t = 0; t < 2100; ++t) d.Note(t);
  EXPECT_EQ(d.log_frames, 2048);
  EXPECT_EQ(d.log_energies[0], -std::numeric_limits<float>::infinity());
  for (int32_t t = 1; t < 2048; ++t) {
    EXPECT_FLOAT_EQ(d.log_energies[t], std::log(static_cast<float>(t))) << "frame " << t;
    EXPECT_EQ(d.energies[static_cast<size_t>(t)], t);
  }
  EXPECT_EQ(d.energies[2048], 2099);  // the last slot is overwritten by every further frame
  EXPECT_EQ(std::count(d.log_energies + 2048, d.log_energies + 2050, 0.0f), 2);
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

TEST(Environment, AnalysisBeginsWithAnEmptyWindowAndTheMostRecentLogEnergies) {
  struct Case {
    int32_t log_frames, mel_frames, first, moved;
  };
  for (const Case& c : {Case{100, 40, 60, 40}, Case{100, 100, 0, 0}, Case{40, 100, 0, 0}, Case{100, 0, 0, 0},
                        Case{2048, 2047, 1, 2047}, Case{9999, 40, 2008, 40}, Case{INT32_MAX, INT32_MAX, 0, 0},
                        Case{-7, 40, 0, 0}, Case{100, -1, 0, 0}}) {
    Detector d;
    const EnvChangeDetect& window = d.environment.matrices;
    const std::pair<fmatrix, int32_t> matrices[] = {{window.block, 5}, {window.left, 10}, {window.right, 10}};
    EXPECT_EQ(fmatrix_rows(d.mel_energies) * 100 + fmatrix_cols(d.mel_energies), 205024);
    EXPECT_EQ(window.dim, 23);
    for (int32_t i = 0; i < 2050; ++i) d.log_energies[i] = static_cast<float>(i);
    for (const auto& [m, rows] : matrices) m[4][22] = 1;
    d.log_frames = c.log_frames;
    d.mel_frames = c.mel_frames;
    AnalyzeChange(d.environment, d.history);
    for (int32_t i = 0; i < 2050; ++i) {
      ASSERT_EQ(d.log_energies[i], static_cast<float>(i < c.moved ? c.first + i : i))
          << c.log_frames << " and " << c.mel_frames << " frames, entry " << i;
    }
    for (const auto& [m, rows] : matrices) {
      EXPECT_EQ(fmatrix_rows(m) * 100 + fmatrix_cols(m), rows * 100 + 23);
      EXPECT_TRUE(c.mel_frames > 0 || m[4][22] == 0);  // with rows it would be filled again
    }
  }
}

TEST(Environment, SensitivityIsKeptWithinItsRange) {
  struct Case {
    int32_t level;
    float rise;
    int32_t result;
    float snr, level_rise;
  };
  for (const Case& c : {Case{-3, 5, 0, 0, 1}, Case{12, -1, 1, 9, 0}, Case{4, 25, 1, 4, 10},
                        Case{0, 0.25f, 1, 0, 0.25f}, Case{INT32_MAX, 9.5f, 1, 9, 9.5f}}) {
    EnvironmentDetector detector;
    EXPECT_EQ(detector.snr_threshold, 0.5f);
    EXPECT_EQ(SetSensitivity(detector, c.level, c.rise), c.result) << c.level;
    EXPECT_EQ(__Vask_epd_set_seneitivity(c.level, c.rise), c.result) << c.level;
    EXPECT_EQ(detector.snr_threshold, c.snr) << c.level;
    EXPECT_EQ(detector.level_threshold, c.level_rise) << c.level;
  }
}

TEST(EnvironmentControl, EveryCallClearsWhatItSaysAndMovesTheLogEnergiesOrNot) {
  struct Case {
    const char* name;
    int32_t detect;
    int32_t (*call)();
    int32_t result, frames, low;
    float first;
  };
  const auto read_extremes = [] {
    int16_t low = 0, high = 0;
    EXPECT_EQ(Vask_epd_ecd_snr(nullptr, nullptr), __Vask_epd_ecd_get_SNR());
    sample_min = -4;
    sample_max = 5;
    Vask_epd_ecd_snr(&low, &high);
    return low * 10 + high;
  };
  for (const Case& c :
       {Case{"ecd, on", 1, Vask_epd_ecd, -1, 0, -4, 3}, Case{"ecd, off", 0, Vask_epd_ecd, -1, 0, -4, 1},
        Case{"change, off", 0, __Vask_epd_ecd_change, -1, 3, -4, 3},
        Case{"reset", 1, Vask_epd_ecd_reset, 0, 0, 0, 1}, Case{"set-up", 1, __Vask_epd_ecd_Init, 1, 3, -4, 0},
        Case{"read-out", 1, read_extremes, -35, 3, 0, 1}}) {
    ASSERT_EQ(__Vask_epd_ecd_Init(), 1);
    for (int32_t i = 0; i < 3; ++i) ecdorgLFBE[i] = static_cast<float>(i + 1);
    __Vask_epd_detect_env_change = c.detect;
    ecdFrames = 1;
    ecdorgFrames = 3;
    sample_min = -4;
    sample_max = 5;
    EXPECT_EQ(c.call(), c.result) << c.name;
    EXPECT_EQ(ecdorgFrames, c.frames) << c.name;
    EXPECT_EQ(ecdFrames, c.frames / 3) << c.name;
    EXPECT_EQ(sample_min, c.low) << c.name;
    EXPECT_EQ(sample_max, c.low == 0 ? 0 : 5) << c.name;
    EXPECT_EQ(ecdorgLFBE[0], c.first) << c.name;
  }
  for (int32_t call = 0; call < 2; ++call) EXPECT_EQ(__Vask_epd_ecd_Stop(), 1);
  EXPECT_EQ(ecdLFBE, nullptr);
}

}  // namespace
}  // namespace vask::test
