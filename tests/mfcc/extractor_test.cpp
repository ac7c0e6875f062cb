// The extractor: its files, good and bad; its frames; its mean.
#include <gtest/gtest.h>
#include <vask/ecd.h>
#include <vask/mfcc.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <random>
#include <vector>

#include "support/knowledge_base.h"

namespace vask::test {
namespace {

constexpr double kOneQ16 = 1 << 16, kOneQ20 = 1 << 20;
const char kMean[] = "13\n12\n11\n10\n9\n8\n7\n6\n5\n4\n3\n2\n1\n";

std::vector<int32_t> Values(const int32_t* values) { return {values, values + 13}; }

// Every pointer of a failed set-up is null, so that nothing can leak or be used.
bool IsEmpty(const mfcc_prm& m) {
  return !m.fbank && !m.lfbe && !m.fbank_wt && !m.spec && !m.lo_chan && !m.delta_filt && !m.accel_filt &&
         !m.dct && !m.cep && !m.delta && !m.accel && !m.cms_new && !m.cms && !m.cms_sum_hi && !m.cms_sum_lo &&
         !m.cms_utt;
}

// The first test of the file: the process has not refreshed before.
TEST(MfccFiles, TheFirstRefreshOfTheProcessReadsTheMeanAndNoLaterOne) {
  const KnowledgeBase kb;
  mfcc_prm m;
  ASSERT_EQ(vask_init_mfcc_prm(&m), 1);
  EXPECT_EQ(m.klo, 2);
  EXPECT_EQ(m.khi, 256);
  for (const char* text : {kMean, "", "1\n"}) {
    kb.Write("global_cms", text);
    m.frames = 7;
    m.delta_state = m.accel_state = 0;
    m.cms_sum_hi[3] = 33;
    EXPECT_EQ(Printed([&] { refresh_mfcc_prm(&m); }), "");
    for (int k = 0; k < 13; ++k) EXPECT_EQ(m.cms[k], 13 - k);
    EXPECT_EQ(m.frames, 0);
    EXPECT_EQ(m.delta_state + m.accel_state, -4);
    EXPECT_EQ(m.cms_sum_hi[3], 33);
  }
  close_mfcc_prm(&m);
}

TEST(MfccFiles, MalformedTablesAreNamedAndNothingIsKept) {
  const KnowledgeBase kb;
  const std::string dir = kb.Table("").string();  // with a slash at its end
  const std::string no_channel = std::string("24\n") + kb.Read("loChan.txt");
  struct Case {
    const char *table, *contents, *message;  // contents null: a folder in its place; message behind the name
  };
  const Case cases[] = {
      {"pre_emph.txt", nullptr, nullptr},
      {"InitFBank.txt", nullptr, " not found"},
      {"loChan.txt", nullptr, " not found"},
      {"InitDCTMatrix.txt", nullptr, " not found"},
      {"InitFBank.txt", "", ", line 1: the table ends too early"},
      {"loChan.txt", "0\r\n0\r\n", ", line 3: the table ends too early"},
      {"InitDCTMatrix.txt", "1\n2\nthree\n", ", line 3: not a number"},
      {"InitFBank.txt", "1\n99999999999\n", ", line 2: a number beyond 32 bits"},
      {"loChan.txt", no_channel.c_str(), ", line 1: a number out of range"},
      {"loChan.txt", "-1\n", ", line 1: a number out of range"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.table);
    const std::string whole = kb.Read(c.table);
    kb.Write(c.table, c.contents != nullptr ? c.contents : "");
    for (const bool folder : {false, true}) {
      if (c.contents == nullptr) fs::remove(kb.Table(c.table));  // missing, then a folder
      if (folder && c.contents == nullptr) fs::create_directory(kb.Table(c.table));
      mfcc_prm m;
      int32_t result = 9, ready = 9;
      const std::string message = Printed([&] { result = init_mfcc_prm(&m, 512); });
      EXPECT_EQ(result, 0);
      EXPECT_TRUE(IsEmpty(m));
      EXPECT_EQ(message, c.message == nullptr ? "ERROR: pre_emph.txt not found\n"
                                              : "ERROR: " + dir + "/" + c.table + c.message + "\n");
      mfcc_feat_ex(&m, &ready, 0, 0);
      EXPECT_EQ(ready, 0);
      refresh_mfcc_prm(&m);
      global_cms_update(&m);
      close_mfcc_prm(&m);
    }
    kb.Write(c.table, whole);
  }
  mfcc_prm m;
  for (const int32_t points : {256, 1024, 0, -512, INT32_MAX})
    EXPECT_EQ(Printed([&] { EXPECT_EQ(init_mfcc_prm(&m, points), 0); }),
              "ERROR: MFCC with an FFT of " + std::to_string(points) + " points, not 512\n");
  // Without any file there are still the built-in tables.
  fs::remove_all(kb.dir());
  EXPECT_EQ(Printed([&] { EXPECT_EQ(init_mfcc_prm(&m, 512), 0); }), "ERROR: pre_emph.txt not found\n");
  EXPECT_EQ(Printed([&] { EXPECT_EQ(vask_init_mfcc_prm(&m), 1); }), "");
  EXPECT_TRUE(std::equal(m.lo_chan + 1, m.lo_chan + 257, loChan_data));
  EXPECT_TRUE(std::equal(m.fbank_wt + 1, m.fbank_wt + 257, InitFBank_data));
  EXPECT_TRUE(std::equal(m.dct, m.dct + 299, InitDCTMatrix_data));
  close_mfcc_prm(&m);
  close_mfcc_prm(&m);
  EXPECT_TRUE(IsEmpty(m));
}

TEST(MfccFiles, TakeTheMeanAsFarAsItCanBeRead) {
  struct Case {
    const char* name;
    std::string text;
    int read;  // 13, 12, ... of the mean above
    std::string printed;
  };
  const std::string open = "ERROR: can't open global_cms\n", bad = "ERROR: read global_cms\n";
  const std::string tail = std::string(kMean).substr(3);
  const Case cases[] = {
      {"missing", "", -1, open},
      {"empty", "", 0, bad},
      {"plain", kMean, 13, ""},
      {"comments and blanks", "#a mean\n\n 99 is not read\n\t13 but a tab is none\n#\n" + tail + "x\n", 13,
       "a mean\n\n"},
      {"CRLF", "13\r\n\r\n12\r\n11\r\n", 3, bad},
      {"twelve", std::string(kMean, sizeof kMean - 3), 12, bad},
      {"letters", "13\n12\neleven\n" + tail, 2, bad},
      {"a number and letters", "13th\n" + tail, 13, ""},
      {"two signs", "13\n+-12\n", 1, bad},
      {"beyond 32 bits", "13\n2147483648\n" + tail, 1, bad},
      {"long lines", std::string("13") + std::string(1000, ' ') + "77\n" + tail, 13, ""},
      {"a long comment", std::string("#") + std::string(1000, 'c') + "\n" + kMean, 13,
       std::string(253, 'c') + "\n"},
      {"a long word", std::string(1000, '7') + "\n" + kMean, 0, bad},
      {"no line end", std::string(kMean, sizeof kMean - 2), 13, ""},
  };
  const KnowledgeBase kb;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.read >= 0) kb.Write("global_cms", c.text);
    mfcc_prm m;
    EXPECT_EQ(Printed([&] { EXPECT_EQ(init_mfcc_prm(&m, 512), 1); }), c.printed);
    for (int k = 0; k < 13; ++k) EXPECT_EQ(m.cms[k], k < c.read ? 13 - k : 0) << k;
    close_mfcc_prm(&m);
  }
  fs::remove(kb.Table("global_cms"));
  fs::create_directory(kb.Table("global_cms"));
  mfcc_prm m;
  EXPECT_EQ(Printed([&] { EXPECT_EQ(init_mfcc_prm(&m, 512), 1); }), open);
  EXPECT_EQ(Printed([&] { EXPECT_EQ(vask_write_global_cms(&m), 0); }), "ERROR: can't write global_cms\n");
  close_mfcc_prm(&m);
}

TEST(MfccFiles, ReadersOfTheirOwnReadWhatTheyAreAskedFor) {
  const KnowledgeBase kb;
  int32_t lo_chan[6] = {9, 9, 9, 9, 9, 9}, weight[6] = {9, 9, 9, 9, 9, 9};
  EXPECT_EQ(InitFBank(8, 24, lo_chan, weight), 0);
  EXPECT_EQ(lo_chan[0] + weight[0] + lo_chan[5] + weight[5], 4 * 9);
  EXPECT_TRUE(std::equal(weight + 1, weight + 5, InitFBank_data));
  EXPECT_TRUE(std::equal(lo_chan + 1, lo_chan + 5, loChan_data));
  int32_t* basis = InitDCTMatrix(2, 30);
  ASSERT_NE(basis, nullptr);
  EXPECT_TRUE(std::equal(basis, basis + 60, InitDCTMatrix_data));
  std::free(basis);
  EXPECT_NE(Printed([] { EXPECT_EQ(InitDCTMatrix(13, 24), nullptr); }).find("line 300: the table ends"),
            std::string::npos);
  EXPECT_EQ(InitDCTMatrix(-1, 1), nullptr);
  EXPECT_EQ(InitFBank(512, 24, nullptr, weight), -1);
  EXPECT_EQ(InitFBank(-2, 24, lo_chan, weight), -1);
  for (int32_t k = 1; k < 300; ++k)
    EXPECT_FLOAT_EQ(Melf(k, 0.04464286f), static_cast<float>(1127 * std::log1p((k - 1) * 0.04464286)));
  EXPECT_EQ(Melf(0, 1.0f), -INFINITY);
  EXPECT_TRUE(std::isnan(Melf(-5, 1.0f)));
}

class Mfcc : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(vask_init_mfcc_prm(&m_), 1);
    __Vask_epd_detect_env_change = 0;
  }
  void TearDown() override {
    close_mfcc_prm(&m_);
    __Vask_epd_detect_env_change = 1;
  }

  int32_t Feed(int32_t with_dynamics = 0) {
    int32_t ready = 9;
    mfcc_feat_ex(&m_, &ready, 0, with_dynamics);
    return ready;
  }

  // Magnitudes between level and 16 times as much, evenly spread on a logarithmic scale.
  void Spectrum(double level, int seed) {
    std::mt19937 random(static_cast<uint32_t>(seed));
    for (int32_t k = 0; k < m_.bins; ++k) {
      const double magnitude = level * std::exp2(static_cast<double>(random() % 1000) / 250);
      m_.spec[k] = std::llround(magnitude * magnitude);
    }
  }

  mfcc_prm m_;
};

TEST_F(Mfcc, IsTheCosineTransformOfTheLogarithmsOfTheChannels) {
  for (int round = 0; round < 60; ++round) {
    Spectrum(std::exp2(round % 20), round);  // up to 2^23
    std::vector<double> channel(25, 0), cepstrum(13, 0);
    for (int k = 2; k <= 256; ++k) {
      const double share = InitFBank_data[k - 1] * 0x1p-30, magnitude = std::sqrt(m_.spec[k]);
      channel[static_cast<size_t>(loChan_data[k - 1])] += share * magnitude;
      channel[static_cast<size_t>(loChan_data[k - 1] + 1)] += (1 - share) * magnitude;
    }
    ASSERT_EQ(Feed(), 1);
    for (int c = 1; c < 24; ++c) {
      const double level = std::log(channel[static_cast<size_t>(c)]);
      // A last bit of Q16, and of Q8 for each bin of the channel, 27 at most, and one for its share.
      const double bound = 2 / kOneQ16 + 54 / 256.0 / channel[static_cast<size_t>(c)];
      EXPECT_NEAR(m_.lfbe[c] / kOneQ16, level, bound) << "round " << round << " channel " << c;
      for (size_t k = 0; k < 13; ++k) {
        cepstrum[k] += std::sqrt(2 / 23.0) * m_.lfbe[c] / kOneQ16 *
                       std::cos(std::numbers::pi * static_cast<double>(k) * (c - 0.5) / 23);
      }
    }
    for (size_t k = 0; k < 13; ++k)
      EXPECT_NEAR(m_.cep[k] / kOneQ20, cepstrum[k], 30 / kOneQ20) << "round " << round << " cepstrum " << k;
    EXPECT_EQ(m_.frames, round + 1);
  }
}

// ln(1/256) * 65536 = -363408.7; sqrt(2/23) * 23 * ln(1/256) = -37.6.
TEST_F(Mfcc, PutsAFloorUnderSilence) {
  std::fill_n(m_.spec, m_.bins, 0);
  ASSERT_EQ(Feed(), 1);
  for (int c = 1; c < 24; ++c) EXPECT_EQ(m_.lfbe[c], -363408) << c;
  EXPECT_NEAR(m_.cep[0] / kOneQ20, std::sqrt(2 * 23) * std::log(1 / 256.0), 1e-4);
  for (int k = 1; k < 13; ++k) EXPECT_NEAR(m_.cep[k] / kOneQ20, 0, 1e-4);
}

TEST_F(Mfcc, StandsDerivativesFourFramesBehind) {
  constexpr int kFrames = 12;
  std::vector<std::vector<int32_t>> plain;
  for (int t = 0; t < kFrames; ++t) {
    Spectrum(100, t);
    Feed();
    plain.push_back(Values(m_.cep));
  }
  refresh_mfcc_prm(&m_);
  const auto at = [&](int t, size_t k) { return double{1} * plain[static_cast<size_t>(std::max(t, 0))][k]; };
  const auto slope = [&](int t, size_t k) {
    double sum = 0;
    for (int j = -2; j <= 2; ++j) sum += j * at(t + j, k) / std::sqrt(10);
    return sum;
  };
  for (int t = 0; t < kFrames; ++t) {
    Spectrum(100, t);
    ASSERT_EQ(Feed(1), t < 4 ? 0 : 1) << t;
    EXPECT_EQ(m_.frames, std::max(t - 3, 0));
    if (t < 4) continue;
    const int n = t - 4;
    EXPECT_EQ(Values(m_.cep), plain[static_cast<size_t>(n)]) << n;
    for (size_t k = 0; k < 13; ++k) {
      double second = 0;
      for (int j = -2; j <= 2; ++j) second += j * slope(std::max(n + j, 0), k) / std::sqrt(10);
      EXPECT_NEAR(m_.delta[k], slope(n, k), 5) << "frame " << n << " cepstrum " << k;
      EXPECT_NEAR(m_.accel[k], second, 15) << "frame " << n << " cepstrum " << k;
    }
  }
}

TEST_F(Mfcc, WritesARowForTheEnvironmentCheckWhileThereIsRoom) {
  ASSERT_EQ(__Vask_epd_ecd_Init(), 1);
  __Vask_epd_detect_env_change = 1;
  Vask_epd_ecd_reset();
  for (int t = 0; t < 3; ++t) {
    Spectrum(50, t);
    Feed(t % 2);  // also while derivatives wait
    ASSERT_EQ(ecdFrames, t + 1);
    double energy = 0;
    for (int c = 1; c < 24; ++c) {
      EXPECT_EQ(ecdLFBE[t][c - 1], static_cast<float>(m_.lfbe[c] / kOneQ16));
      energy += std::pow(static_cast<double>(m_.fbank[c]) / 1024, 2);
    }
    EXPECT_FLOAT_EQ(ecdLFBE[t][23], static_cast<float>(std::log(energy)));
  }
  for (const auto& [before, after] : {std::pair{2047, 2048}, {2048, 2048}, {INT32_MAX, INT32_MAX}, {-9, 1}}) {
    ecdFrames = before;
    Feed();
    EXPECT_EQ(ecdFrames, after);
  }
  __Vask_epd_detect_env_change = 0;
  Feed();
  EXPECT_EQ(ecdFrames, 1);
  __Vask_epd_detect_env_change = 1;
  __Vask_epd_ecd_Stop();
  Feed();  // no history to write to
  EXPECT_EQ(ecdFrames, 1);
}

TEST_F(Mfcc, KeepsToItsArraysWhateverTheRecordSays) {
  m_.klo = INT32_MIN;
  m_.khi = INT32_MAX;
  for (int32_t k = 0; k < m_.bins; ++k) m_.lo_chan[k] = k % 2 ? INT32_MAX : INT32_MIN;
  Spectrum(1e5, 1);
  EXPECT_EQ(Feed(1), 0);
  std::fill_n(m_.spec, m_.bins, INT64_MAX);
  EXPECT_EQ(Feed(), 1);
  std::fill_n(m_.spec, m_.bins, INT64_MIN);
  EXPECT_EQ(Feed(), 1);
  int32_t ready = 9;
  mfcc_feat_ex(nullptr, &ready, 0, 0);
  EXPECT_EQ(ready, 9);
  mfcc_feat_ex(&m_, nullptr, 0, 0);
  DCT(nullptr, m_.cep, m_.dct, 13, 23, 1);
  DCT(m_.lfbe, m_.cep, m_.dct, -1, 23, 1);
  for (mfcc_prm* none : {static_cast<mfcc_prm*>(nullptr)}) {
    refresh_mfcc_prm(none);
    global_cms_update(none);
    close_mfcc_prm(none);
    EXPECT_EQ(init_mfcc_prm(none, 512) + vask_init_mfcc_prm(none) + vask_write_global_cms(none), 0);
  }
}

TEST_F(Mfcc, LearnsAFifthOfEachUtteranceAndWritesEveryThird) {
  const KnowledgeBase kb;
  kb.Write("global_cms", kMean);
  Printed([&] { EXPECT_EQ(vask_read_global_cms(&m_), 1); });
  std::vector<double> mean(13);
  for (int k = 0; k < 13; ++k) mean[static_cast<size_t>(k)] = 13 - k;
  for (int utterance = 1; utterance <= 7; ++utterance) {
    const int frames = 5 + 10 * utterance;
    std::vector<double> sum(13, 0);
    Printed([&] { refresh_mfcc_prm(&m_); });
    std::copy_n(mean.begin(), 13, m_.cms);  // whatever the process's first refresh has read
    for (int t = 0; t < frames; ++t) {
      Spectrum(100 * utterance, t);
      Feed();
      for (size_t k = 0; k < 13; ++k) sum[k] += m_.cep[k] + m_.cms[k];
    }
    const std::string before = kb.Read("global_cms");
    const std::string printed = Printed([&] { global_cms_update(&m_); });
    std::string text;
    for (size_t k = 0; k < 13; ++k) {
      mean[k] = 0.8 * std::trunc(mean[k]) + 0.2 * sum[k] / frames;
      // 0.8f and 0.2f are a little more; a mean is 2^-30 * frames and a last bit short.
      EXPECT_NEAR(m_.cms[k], mean[k], 2 + 1e-7 * std::abs(mean[k])) << utterance << ", " << k;
      mean[k] = m_.cms[k];
      text += std::to_string(m_.cms[k]) + "\n";
    }
    const std::string begin = std::string("[ ") + std::to_string(frames) + " ] ";
    EXPECT_EQ(printed.substr(0, begin.size()), utterance % 3 == 0 ? begin : "");
    EXPECT_EQ(kb.Read("global_cms"), utterance % 3 == 0 ? text : before) << utterance;
    EXPECT_EQ(m_.frames, 0);
    global_cms_update(&m_);  // nothing since then: not even counted
  }
  EXPECT_EQ(vask_write_global_cms(&m_), 1);
  const std::vector<int32_t> written = Values(m_.cms);
  std::fill_n(m_.cms, 13, 0);
  EXPECT_EQ(vask_read_global_cms(&m_), 1);
  EXPECT_EQ(Values(m_.cms), written);
}

}  // namespace
}  // namespace vask::test
