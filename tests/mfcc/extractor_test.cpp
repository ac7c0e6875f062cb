// The extractor: its files, good and bad, and what it writes when its record holds arbitrary values.
#include <gtest/gtest.h>
#include <vask/ecd.h>
#include <vask/mfcc.h>

#include <algorithm>
#include <utility>

#include "support/knowledge_base.h"

namespace vask::test {
namespace {

const char kMean[] = "13\n12\n11\n10\n9\n8\n7\n6\n5\n4\n3\n2\n1\n";

// The result of a set-up and what it printed.
template <typename... A>
std::pair<int32_t, std::string> Call(int32_t (*set_up)(A...), std::type_identity_t<A>... arguments) {
  int32_t result = 9;
  const std::string said = Hear([&] { result = set_up(arguments...); }).out;
  return {result, said};
}
using Answer = std::pair<int32_t, std::string>;

// Every pointer of a failed set-up is null, so that nothing can leak or be used.
bool IsEmpty(const mfcc_prm& m) {
  return !m.fbank && !m.lfbe && !m.fbank_wt && !m.spec && !m.lo_chan && !m.delta_filt && !m.accel_filt &&
         !m.dct && !m.cep && !m.delta && !m.accel && !m.cms_new && !m.cms && !m.cms_sum_hi && !m.cms_sum_lo &&
         !m.cms_utt;
}

TEST(MfccFiles, MalformedTablesAreNamedAndNothingIsKept) {
  const KnowledgeBase kb;
  const std::string dir = kb.Table("").string();  // ends with a slash
  const std::string no_channel = std::string("24\n") + kb.Read("loChan.txt");
  struct Case {
    const char *table, *contents, *message;  // contents null: a folder in its place; message after the name
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
      int32_t ready = 9;
      const std::string message =
          c.message == nullptr ? "pre_emph.txt not found" : dir + "/" + c.table + c.message;
      EXPECT_EQ(Call(init_mfcc_prm, &m, 512), Answer(0, "ERROR: " + message + "\n"));
      EXPECT_TRUE(IsEmpty(m));
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
    EXPECT_EQ(Call(init_mfcc_prm, &m, points),
              Answer(0, "ERROR: MFCC with an FFT of " + std::to_string(points) + " points, not 512\n"));
  // Without any file there are still the built-in tables.
  fs::remove_all(kb.dir());
  EXPECT_EQ(Call(init_mfcc_prm, &m, 512), Answer(0, "ERROR: pre_emph.txt not found\n"));
  EXPECT_EQ(Call(vask_init_mfcc_prm, &m), Answer(1, ""));
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
    int read;  // how many of the mean above
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
       std::string(254, 'c') + "\n"},
      {"lines of 254, 255 and 256 characters",
       "13" + std::string(252, ' ') + "\n12" + std::string(253, ' ') + "\n11" + std::string(254, ' ') + "\n" +
           tail.substr(6),
       13, ""},
      {"a long word", std::string(1000, '7') + "\n" + kMean, 0, bad},
      {"no line end", std::string(kMean, sizeof kMean - 2), 13, ""},
  };
  const KnowledgeBase kb;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.read >= 0) kb.Write("global_cms", c.text);
    mfcc_prm m;
    EXPECT_EQ(Call(init_mfcc_prm, &m, 512), Answer(1, c.printed));
    for (int k = 0; k < 13; ++k) EXPECT_EQ(m.cms[k], k < c.read ? 13 - k : 0) << k;
    close_mfcc_prm(&m);
  }
  mfcc_prm m;
  ASSERT_EQ(vask_init_mfcc_prm(&m), 1);
  EXPECT_EQ(Call(vask_read_global_cms, &m), Answer(1, ""));
  close_mfcc_prm(&m);
  fs::remove(kb.Table("global_cms"));
  fs::create_directory(kb.Table("global_cms"));
  EXPECT_EQ(Call(init_mfcc_prm, &m, 512), Answer(1, open));
  EXPECT_EQ(Call(vask_write_global_cms, &m), Answer(0, "ERROR: can't write global_cms\n"));
  close_mfcc_prm(&m);
}

class Mfcc : public testing::Test {
 protected:
  Mfcc() {
    EXPECT_EQ(vask_init_mfcc_prm(&m_), 1);
    EXPECT_EQ(__Vask_epd_ecd_Init(), 1);
  }
  ~Mfcc() override { close_mfcc_prm(&m_), __Vask_epd_ecd_Stop(); }

  int32_t Feed(int64_t power, int32_t with_dynamics = 0) {
    int32_t ready = 9;
    std::fill_n(m_.spec, m_.bins, power);
    mfcc_feat_ex(&m_, &ready, 0, with_dynamics);
    return ready;
  }

  mfcc_prm m_;
};

TEST_F(Mfcc, WritesARowForTheEnvironmentCheckWhileThereIsRoom) {
  for (const auto& [before, after] :
       {std::pair{0, 1}, {2047, 2048}, {2048, 2048}, {INT32_MAX, INT32_MAX}, {-9, 1}}) {
    ecdFrames = before;
    Feed(1 << 20, 1);  // even while derivatives are not ready
    EXPECT_EQ(ecdFrames, after);
  }
  __Vask_epd_detect_env_change = 0;
  Feed(1);
  __Vask_epd_detect_env_change = 1;
  __Vask_epd_ecd_Stop();
  Feed(1);  // no history to write to
  EXPECT_EQ(ecdFrames, 1);
}

TEST_F(Mfcc, StaysWithinItsArraysWhateverTheRecordHolds) {
  m_.klo = INT32_MIN;
  m_.khi = INT32_MAX;
  for (int32_t k = 0; k < m_.bins; ++k) m_.lo_chan[k] = k % 2 ? INT32_MAX : INT32_MIN;
  EXPECT_EQ(Feed(1 << 20, 1), 0);
  for (const int64_t power : {INT64_MAX, INT64_MIN}) EXPECT_EQ(Feed(power), 1);
}

}  // namespace
}  // namespace vask::test
