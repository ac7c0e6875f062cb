// Streams in separate threads share nothing: each gives what it gives alone. The thread sanitizer watches the
// same test.
#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "support/listener.h"
#include "support/loud_model.h"
#include "support/scene.h"

namespace vask::test {
namespace {

constexpr size_t kStreams = 64, kThreads = 8;

// Stream k works in one of eight ways, on one of several recordings.
std::unique_ptr<Listener> ListenerOf(size_t k) {
  if (k % 8 >= 4) {
    StreamSetup setup;
    setup.model = Loud();
    setup.options.audio = k % 4 == 2 ? VASK_STREAM_CLEAN : VASK_STREAM_LISTENING;
    if (k % 4 == 1) setup.options.mode = VASK_STREAM_CONTINUOUS;
    return std::make_unique<Listener>(setup, Listener::Reads::kEagerly);
  }
  StreamOptions options;
  if (k % 4 == 1) options.mode = VASK_STREAM_CONTINUOUS;
  if (k % 4 == 2) options.Robust();
  if (k % 4 == 3) options.Device(32, 1);
  return std::make_unique<Listener>(options, Listener::Reads::kEagerly);
}

std::span<const int16_t> InputOf(size_t k) {
  static const Samples room = Room(), other = Join({Burst(), Utterance()});
  return k % 8 == 7 ? std::span<const int16_t>(other) : std::span(room).subspan(30000 * (k % 3), 50000);
}

TEST(StreamThreads, SixtyFourStreamsInEightThreadsGiveWhatEachGivesAlone) {
  std::vector<std::unique_ptr<Listener>> alone, together;
  for (size_t k = 0; k < kStreams; ++k) {
    alone.push_back(ListenerOf(k));
    alone[k]->Hear(InputOf(k));
    ASSERT_FALSE(alone[k]->segments().empty() && alone[k]->audio().empty()) << "stream " << k;
  }
  together.resize(kStreams);
  std::vector<std::thread> threads;
  for (size_t thread = 0; thread < kThreads; ++thread) {
    threads.emplace_back([&, thread] {
      for (size_t k = thread; k < kStreams; k += kThreads) together[k] = ListenerOf(k);
      for (bool goes_on = true; goes_on;) {  // all of them in turn, each in pieces of its own size
        goes_on = false;
        for (size_t k = thread; k < kStreams; k += kThreads)
          goes_on |= together[k]->Step(InputOf(k), 101 + 37 * k);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (size_t k = 0; k < kStreams; ++k) EXPECT_TRUE(*together[k] == *alone[k]) << "stream " << k;
}

}  // namespace
}  // namespace vask::test
