// Every allocation of a set-up fails once, in turn: result 0 or null, and nothing is kept.
#include <gtest/gtest.h>
#include <vask/mfcc.h>

#include <cstdlib>
#include <functional>

#include "support/knowledge_base.h"

namespace {

bool counting = false;
int until_failure = 0;  // allocations of the library; 0: none fails
int balance = 0;        // of blocks from calloc, while counting

}  // namespace

extern "C" {
void* __real_calloc(size_t count, size_t size);
void* __real_malloc(size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_malloc(size_t size);

void* __wrap_calloc(size_t count, size_t size) {
  if (counting && until_failure > 0 && --until_failure == 0) return nullptr;
  if (counting) ++balance;
  return __real_calloc(count, size);
}
void* __wrap_malloc(size_t size) { return __real_malloc(size); }
}

namespace vask::test {
namespace {

struct Case {
  const char* name;
  int allocations;
  std::function<bool()> set_up;  // true: done, and released again
};

TEST(MfccAllocation, FailsCleanlyWhicheverBlockIsMissing) {
  const KnowledgeBase kb;
  const auto extractor = [](const std::function<int32_t(mfcc_prm*)>& init) {
    mfcc_prm m;
    const bool done = init(&m) == 1;
    counting = false;
    if (!done) {
      EXPECT_TRUE(m.spec == nullptr && m.dct == nullptr && m.delta_filt == nullptr &&
                  m.accel_filt == nullptr);
    }
    close_mfcc_prm(&m);
    return done;
  };
  const Case cases[] = {
      // 6 arrays, 8 of 13 coefficients, 2 banks, and coefficients and history of 26 filters
      {"init_mfcc_prm", 6 + 8 + 2 + 52,
       [&] { return extractor([](mfcc_prm* m) { return init_mfcc_prm(m, 512); }); }},
      {"vask_init_mfcc_prm", 6 + 8 + 2 + 52, [&] { return extractor(vask_init_mfcc_prm); }},
      {"InitDCTMatrix", 1,
       [] {
         int32_t* basis = InitDCTMatrix(13, 23);
         std::free(basis);
         return basis != nullptr;
       }},
      {"init_filter", 6,
       [] {
         auto* bank = static_cast<fir_filt*>(__real_malloc(3 * sizeof(fir_filt)));
         const bool done = init_filter(bank, 3, 5) == 1;
         if (done) close_filter(bank, 3);
         return done;
       }},
      {"fix32_init_hp_filt", 4,
       [] {
         fix32_hp_filt f;
         const bool done = fix32_init_hp_filt(&f) == 1;
         fix32_close_filt(&f);
         return done;
       }},
  };
  for (const Case& c : cases) {
    for (int failing = 0; failing <= c.allocations + 1; ++failing) {
      bool done = false;
      balance = 0;
      Printed([&] {
        until_failure = failing;
        counting = true;
        done = c.set_up();
        counting = false;
      });
      EXPECT_EQ(done, failing == 0 || failing > c.allocations) << c.name << ", allocation " << failing;
      if (failing == 0) {
        EXPECT_EQ(balance, c.allocations) << c.name;
      }
    }
  }
}

// The leak checker of a sanitizer build sees what is not released; here it is what a frame takes.
TEST(MfccAllocation, TakesNothingPerFrame) {
  mfcc_prm m;
  ASSERT_EQ(vask_init_mfcc_prm(&m), 1);
  balance = until_failure = 0;
  counting = true;
  for (int t = 0; t < 50; ++t) {
    int32_t ready = 0;
    m.spec[t] = 1000;
    mfcc_feat_ex(&m, &ready, 0, t % 2);
  }
  counting = false;
  EXPECT_EQ(balance, 0);
  close_mfcc_prm(&m);
}

}  // namespace
}  // namespace vask::test
