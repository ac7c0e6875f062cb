// Streams for conversations: ends that are guessed and withdrawn, nobody who speaks, and a pause that
// changes.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <tuple>
#include <vask/stream.hpp>
#include <vector>

#include "support/scene.h"

namespace vask::test {
namespace {

constexpr int32_t kDetectors[] = {VASK_STREAM_ENERGY, VASK_STREAM_LEARNED};

struct Turn {
  vask_stream_event event;
  size_t audio;  // samples that could be read after it
};

StreamSetup SetupFor(int32_t detector, float pause) {
  StreamSetup setup;
  setup.detector = detector;
  setup.rules.pause = pause;
  setup.options.profile.hangover_frames = static_cast<int32_t>(pause * 100);
  return setup;
}

// A stream that is written to in pieces; `change`, if it is set, changes the pause once so many samples are
// written.
struct Change {
  size_t at;
  float pause;
};

std::vector<Turn> Talk(const vask_stream_setup& setup, const Samples& input, size_t piece = 160,
                       const std::vector<Change>& changes = {}) {
  Stream stream(setup);
  EXPECT_TRUE(stream);
  std::vector<Turn> turns;
  const auto take = [&] {
    Samples room(1000);
    while (const auto event = stream.Next()) {
      turns.push_back({*event, 0});
      while (const size_t count = stream.Read(room).size()) turns.back().audio += count;
    }
  };
  size_t done = 0;
  for (auto change = changes.begin(); done < input.size();) {
    if (change != changes.end() && done >= change->at) {
      EXPECT_EQ(stream.SetPause((change++)->pause), 0);
    }
    const size_t count = std::min(piece, input.size() - done);
    EXPECT_EQ(stream.Write(std::span(input).subspan(done, count)), static_cast<int32_t>(count));
    done += count;
    take();
  }
  EXPECT_EQ(stream.Flush(), 0);
  take();
  return turns;
}

std::vector<vask_stream_event> OfKind(const std::vector<Turn>& turns, int32_t kind) {
  std::vector<vask_stream_event> events;
  for (const Turn& turn : turns) {
    if (turn.event.kind == kind) events.push_back(turn.event);
  }
  return events;
}

std::vector<std::tuple<int64_t, int64_t>> Spans(const std::vector<Turn>& turns) {
  std::vector<std::tuple<int64_t, int64_t>> spans;
  for (const auto& event : OfKind(turns, VASK_STREAM_ENDED))
    spans.emplace_back(event.span_start, event.span_end);
  return spans;
}

// Starts and their ends, guesses and what becomes of them, audio and spans.
void CheckOrder(const std::vector<Turn>& turns) {
  std::optional<int32_t> open, guessed;
  size_t audio = 0;
  for (const auto& [event, count] : turns) {
    SCOPED_TRACE("segment " + std::to_string(event.segment) + ", " + vask_stream_kind_name(event.kind));
    EXPECT_LE(event.end, event.heard);
    switch (event.kind) {
      case VASK_STREAM_STARTED:
        EXPECT_FALSE(open);
        open = event.segment;
        audio = 0;
        break;
      case VASK_STREAM_MAY_HAVE_ENDED:
        EXPECT_EQ(open, event.segment);
        EXPECT_FALSE(guessed);
        EXPECT_GE(event.end, event.start);
        guessed = event.segment;
        break;
      case VASK_STREAM_WENT_ON:
        EXPECT_EQ(guessed, event.segment);
        guessed.reset();
        break;
      case VASK_STREAM_NOBODY_SPOKE:
        EXPECT_FALSE(open);
        break;
      default:
        EXPECT_EQ(open, event.segment);
        if (event.kind == VASK_STREAM_ENDED) {
          EXPECT_EQ(audio + count, static_cast<size_t>(event.span_end - event.span_start));
        }
        open.reset();
        guessed.reset();
    }
    audio += count;
  }
  EXPECT_FALSE(open || guessed);
}

TEST(Conversation, GuessesEndsAndWithdrawsThem) {
  for (const int32_t detector : kDetectors) {
    StreamSetup setup = SetupFor(detector, 3);  // the sentences are 1.7 to 2 s apart
    setup.may_end_after = 0.5f;
    const std::vector<Turn> turns = Talk(setup, Room());
    CheckOrder(turns);
    const auto guesses = OfKind(turns, VASK_STREAM_MAY_HAVE_ENDED), ends = OfKind(turns, VASK_STREAM_ENDED);
    ASSERT_EQ(ends.size(), 1U) << detector;
    EXPECT_EQ(OfKind(turns, VASK_STREAM_WENT_ON).size(), 4U) << detector;
    ASSERT_EQ(guesses.size(), 5U) << detector;
    const int64_t lag = detector == VASK_STREAM_LEARNED ? 6400 : 1600;  // of what the detector knows: samples
    for (const auto& guess : guesses) {
      EXPECT_GE(guess.heard - guess.end, 8000);
      EXPECT_LE(guess.heard - guess.end, 8000 + lag);
    }
    EXPECT_NEAR(static_cast<double>(guesses.back().end), static_cast<double>(ends[0].end), 640);
    setup.options.max_samples = 40000;  // splits end what was guessed of them
    CheckOrder(Talk(setup, Room()));
    for (const float never : {0.0f, 3.0f}) {
      setup.may_end_after = never;
      EXPECT_TRUE(OfKind(Talk(setup, Room()), VASK_STREAM_MAY_HAVE_ENDED).empty());
    }
  }
}

TEST(Conversation, TellsOnceThatNobodySpeaks) {
  for (const int32_t detector : kDetectors) {
    StreamSetup setup = SetupFor(detector, 1);
    setup.start_within = 2;
    const Samples quiet(4 * 16000), room = Room(), sentence(room.begin(), room.begin() + 64000);
    const std::vector<Turn> turns = Talk(setup, Join({quiet, sentence, quiet, quiet}));
    CheckOrder(turns);
    const auto told = OfKind(turns, VASK_STREAM_NOBODY_SPOKE), ends = OfKind(turns, VASK_STREAM_ENDED);
    ASSERT_EQ(ends.size(), 1U) << detector;
    ASSERT_EQ(told.size(), 2U) << detector;
    const int64_t lag = detector == VASK_STREAM_LEARNED ? 4000 : 0;  // until it knows that nobody has started
    EXPECT_EQ(told[0].start, 0);
    EXPECT_EQ(told[1].start, ends[0].end);
    for (const auto& event : told) {
      EXPECT_GE(event.heard, event.start + 2 * 16000);
      EXPECT_LE(event.heard, event.start + 2 * 16000 + lag);
    }
  }
}

TEST(Conversation, ChangesThePauseWhileItRuns) {
  const Samples room = Room();
  const size_t in_first_pause = 70000;  // 0.7 s after the first sentence
  for (const int32_t detector : kDetectors) {
    const auto spans = [&](float pause, const std::vector<Change>& changes) {
      const std::vector<Turn> turns = Talk(SetupFor(detector, pause), room, 160, changes);
      CheckOrder(turns);
      return Spans(turns);
    };
    const auto apart = spans(1, {}), together = spans(3, {});
    ASSERT_EQ(std::tuple(apart.size(), together.size()), std::tuple(5U, 1U)) << detector;
    EXPECT_EQ(spans(3, {{0, 1}}), apart);
    EXPECT_EQ(spans(1, {{0, 3}}), together);
    EXPECT_EQ(spans(0.5f, {{0, 3}, {800, 0.1f}, {1600, 3}}), together);
    // In a pause: longer, so that it ends nothing; shorter than it is by now, so that it ends with the next
    // frame.
    EXPECT_EQ(spans(1, {{in_first_pause, 3}}), together);
    const std::vector<Turn> cut =
        Talk(SetupFor(detector, 3), room, 160, {{in_first_pause, 0.3f}, {80000, 3}});
    CheckOrder(cut);
    const auto ends = OfKind(cut, VASK_STREAM_ENDED);
    ASSERT_EQ(ends.size(), 2U) << detector;
    EXPECT_NEAR(static_cast<double>(ends[0].end),
                static_cast<double>(OfKind(Talk(SetupFor(detector, 1), room), VASK_STREAM_ENDED)[0].end),
                320);
    EXPECT_LE(ends[0].heard, static_cast<int64_t>(in_first_pause) + 960);

    Stream stream(SetupFor(detector, 1));
    for (const float wrong : {-0.1f, 30.1f, std::numeric_limits<float>::quiet_NaN()}) {
      EXPECT_EQ(stream.SetPause(wrong), VASK_STREAM_BAD_ARGUMENT);
    }
    StreamSetup small = SetupFor(detector, 1);
    small.options.queue_samples = 16000 * 5;
    EXPECT_EQ(Stream(small).SetPause(8), VASK_STREAM_BAD_ARGUMENT);
  }
}

TEST(Conversation, TakesTheSetupsOfOlderCallers) {
  constexpr size_t kOld = offsetof(vask_stream_setup, input_rate);
  std::vector<std::byte> bytes(kOld);  // no more: reading beyond it is an error
  auto* old = reinterpret_cast<vask_stream_setup*>(bytes.data());
  vask_stream_setup_defaults(old, kOld);
  EXPECT_EQ(vask_stream_setup_complaint(old), nullptr);
  vask_stream* stream = vask_stream_open_setup(old);
  EXPECT_NE(stream, nullptr);
  vask_stream_close(stream);
  old->size = kOld - 4;
  EXPECT_STREQ(vask_stream_setup_complaint(old), "size is not that of a vask_stream_setup");
  StreamSetup setup;
  setup.may_end_after = 11;
  EXPECT_STREQ(setup.Complaint(), "may_end_after is not 0 or 0.02 to 10 s");
  setup.may_end_after = 0;
  setup.start_within = 0.05f;
  EXPECT_STREQ(setup.Complaint(), "start_within is not 0 or 0.1 to 3600 s");
}

}  // namespace
}  // namespace vask::test
