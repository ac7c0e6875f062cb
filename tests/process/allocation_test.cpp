// How much is allocated: frames need nothing. The linker redirects the library's calls of malloc and calloc
// to this file.

#include <gtest/gtest.h>
#include <vask/vask.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#endif

#include "support/capture.h"
#include "support/knowledge_base.h"
#include "support/scene.h"

namespace {

std::array<void*, 8192> blocks;  // allocated and not known to be released
size_t obtained = 0, bytes = 0, failing = 0;

template <typename Get>
void* Obtain(size_t size, Get get) {
  if (++obtained == failing) return nullptr;
  bytes += size;
  return *std::find(blocks.begin(), blocks.end() - 1, nullptr) = get();
}

}  // namespace

extern "C" {

void* __real_malloc(size_t size);
void* __real_calloc(size_t count, size_t size);
void* __wrap_malloc(size_t size) {
  return Obtain(size, [&] { return __real_malloc(size); });
}
void* __wrap_calloc(size_t count, size_t size) {
  return Obtain(count * size, [&] { return __real_calloc(count, size); });
}

#if !defined(__SANITIZE_ADDRESS__)
void __libc_free(void* block) noexcept;
void free(void* block) noexcept {
  if (block != nullptr) std::replace(blocks.begin(), blocks.end(), block, static_cast<void*>(nullptr));
  __libc_free(block);
}
#endif

}  // extern "C"

namespace vask::test {
namespace {

// Restart the counts; the number-th allocation from now on fails.
void Fail(size_t number) {
  obtained = bytes = 0;
  failing = number;
}

template <typename Action>
size_t CountOf(Action action) {
  Fail(0);
  action();
  return obtained;
}

size_t Unreleased() {
#if defined(__SANITIZE_ADDRESS__)  // what has been released may no longer be read
  for (void*& block : blocks) block = __asan_address_is_poisoned(block) ? nullptr : block;
#endif
  return static_cast<size_t>(
      std::count_if(blocks.begin(), blocks.end(), [](void* b) { return b != nullptr; }));
}

// A bank allocates the first weights, then a record and its weights for each further band.
TEST(Allocation, AMelBankFromAFileReportsOnANewLineExceptForALaterRecord) {
  const KnowledgeBase kb;
  mel_band bank = {};
  const size_t all = CountOf([&] { EXPECT_EQ(InitMelFBFromFile(&bank, 35), 1); });
  CloseMelFB(&bank, 35);
  EXPECT_EQ(all, 69u);
  for (size_t k = 1; k <= all; ++k) {
    Fail(k);
    const bool is_later_record = k % 2 == 0 && k > 2;
    EXPECT_EQ(Hear([&] { InitMelFBFromFile(&bank, 35); }).out,
              std::string(is_later_record ? "" : "\n") + "ERROR:   Memory allocation error occured!\r\n")
        << "allocation " << k;
  }
  Fail(0);
}

// Bursts and utterances in all modes; adds up the allocations between the starts.
void* ListenInAllModes(void* allocations) {
  static Samples scene = Join({Burst(), Utterance()}), out(scene.size());
  static mfcc_prm extractor;
  if (vask_init_mfcc_prm(&extractor) != 1) return allocations;
  for (const int32_t mode : {1, 2, 3, 4}) {
    int32_t started = 0;
    CountOf([&] { started = android_init_frontend(".", mode); });
    if (started != 1 || bytes >= size_t{1} << 20) return allocations;
    *static_cast<size_t*>(allocations) += CountOf([] {
      android_reset_frontend();
      android_process_frame(static_cast<int32_t>(scene.size()), scene.data());
      android_process_frame(0, scene.data());  // after the restart that ended the first call
      android_get_frames(1000, out.data());
      Vask_epd_ecd();
      android_wrapup_frontend();
      int32_t ready = 0;
      mfcc_feat_ex(&extractor, &ready, 0, 1);
    });
  }
  android_stop_frontend();
  close_mfcc_prm(&extractor);
  return nullptr;
}

// With each detector, with each kind of audio that the learned one has, and at other rates.
class StreamAllocation : public testing::TestWithParam<vask_stream_setup> {};

vask_stream_setup Setup(int32_t detector, int32_t audio, int32_t input_rate = 0, int32_t audio_rate = 0) {
  vask_stream_setup setup;
  vask_stream_setup_defaults(&setup, sizeof setup);
  setup.detector = detector;
  setup.options.audio = audio;
  setup.input_rate = input_rate;
  setup.audio_rate = audio_rate;
  return setup;
}

INSTANTIATE_TEST_SUITE_P(Setups, StreamAllocation,
                         testing::Values(Setup(VASK_STREAM_ENERGY, VASK_STREAM_CLEAN),
                                         Setup(VASK_STREAM_LEARNED, VASK_STREAM_CLEAN),
                                         Setup(VASK_STREAM_LEARNED, VASK_STREAM_RAW),
                                         Setup(VASK_STREAM_LEARNED, VASK_STREAM_LISTENING),
                                         Setup(VASK_STREAM_LEARNED, VASK_STREAM_RAW, 44100, 8000)));

TEST_P(StreamAllocation, IsOnlyAtItsStartAndWhenItsQueueGrows) {
  if (GetParam().detector == VASK_STREAM_LEARNED && vask_model_digest(nullptr) == 0) GTEST_SKIP();
  const Samples scene = Room();
  vask_stream* stream = nullptr;
  const auto open = [&] { stream = vask_stream_open_setup(&GetParam()); };
  open();
  Samples taken;
  vask_stream_event event;
  const auto take = [&] {
    int16_t room[4000];
    do {
      while (const int32_t n = vask_stream_read(stream, room, 4000))
        taken.insert(taken.end(), room, room + n);
    } while (vask_stream_next(stream, &event) == 1);
  };
  taken.reserve(scene.size());
  EXPECT_EQ(CountOf([&] {
              for (size_t i = 0; i < scene.size(); i += 1000) {
                vask_stream_write(stream, &scene[i],
                                  static_cast<int32_t>(std::min<size_t>(1000, scene.size() - i)));
                take();
              }
            }),
            0u);
  const Samples expected = std::exchange(taken, {});
  vask_stream_reset(stream);
  Fail(1);  // the queue needs to grow
  const auto total = static_cast<int32_t>(scene.size());
  const int32_t done = vask_stream_write(stream, scene.data(), total);
  EXPECT_LT(done, total);
  EXPECT_EQ(vask_stream_write(stream, &scene[static_cast<size_t>(done)], total - done), total - done);
  take();
  EXPECT_EQ(taken, expected);
  vask_stream_close(stream);
  EXPECT_EQ(Unreleased(), 0u);
}

TEST(Allocation, FramesNeedNone) {
  size_t allocations = 0;
  EXPECT_EQ(ListenInAllModes(&allocations), nullptr);
  EXPECT_EQ(allocations, 0u);
}

}  // namespace
}  // namespace vask::test
