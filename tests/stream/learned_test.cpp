// Streams with the learned detector, compared with their definition: what the detector says of each step,
// looked at over the whole recording at once.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "support/listener.h"
#include "support/loud_model.h"
#include "support/scene.h"

namespace vask::test {
namespace {

using Reads = Listener::Reads;

constexpr int64_t kStep = 320;  // samples

// Outputs that have little to do with each other.
const vask_model* Wild() {
  static const ModelFile file(MakeModel(32, 48, 32, Kind::kTrained, 4));
  return file.get();
}

StreamSetup SetupOf(int32_t mode, int32_t audio, const vask_model* model) {
  StreamSetup setup;
  setup.options.mode = mode;
  setup.options.audio = audio;
  setup.model = model;
  return setup;
}

// Every word of it is followed by a pause of another length.
Samples Words() {
  const Samples room = Room();
  return Join({Samples(3000), room, Burst(), Samples(room.begin() + 16000, room.begin() + 56000), Utterance(),
               Samples(room.begin(), room.begin() + 30077)});
}

std::vector<Heard> Listen(const vask_stream_setup& setup, const Samples& input, size_t piece = 1000,
                          Reads reads = Reads::kAtTheEnd) {
  Listener listener(setup, reads);
  listener.Hear(input, piece);
  return listener.segments();
}

Samples Continuous(const Samples& input, int32_t audio, const vask_model* model) {
  Listener listener(SetupOf(VASK_STREAM_CONTINUOUS, audio, model), Reads::kEagerly);
  listener.Hear(input, 777);
  return listener.audio();
}

// What the detector says of each step of the input, each output at its own place in time: Q15.
std::vector<std::vector<int32_t>> Said(const Samples& input, const vask_model* model) {
  vask::Stream stream(SetupOf(VASK_STREAM_CONTINUOUS, VASK_STREAM_NO_AUDIO, model));
  const int64_t steps = (std::ssize(input) + kStep - 1) / kStep;
  std::vector<std::vector<int32_t>> said(4, std::vector<int32_t>(static_cast<size_t>(steps)));
  for (int64_t n = 0; n < steps + 20; ++n) {
    Samples samples(kStep);
    for (int64_t i = 0; i < kStep && n * kStep + i < std::ssize(input); ++i)
      samples[static_cast<size_t>(i)] = input[static_cast<size_t>(n * kStep + i)];
    EXPECT_EQ(stream.Write(samples), kStep);
    const vask_stream_hearing hearing = stream.Hearing().value();
    EXPECT_EQ(hearing.at, n * kStep);
    const std::pair<int64_t, float> outputs[] = {{n, hearing.speech},
                                                 {n - 5, hearing.speech_100ms_ago},
                                                 {n - 10, hearing.speech_200ms_ago},
                                                 {n - 20, hearing.utterance}};
    for (size_t k = 0; k < 4; ++k) {
      const auto& [at, value] = outputs[k];
      if (at >= 0 && at < steps) said[k][static_cast<size_t>(at)] = static_cast<int32_t>(value * 32768);
    }
  }
  return said;
}

size_t OutputOf(float look_back) {
  return look_back < 0.05f ? 0 : look_back < 0.15f ? 1 : look_back < 0.3f ? 2 : 3;
}

// The events of a recording as include/vask/stream.h defines them.
std::vector<vask_stream_event> Define(const Samples& input, const vask_stream_setup& setup,
                                      const std::vector<std::vector<int32_t>>& said) {
  const vask_stream_rules& rules = setup.rules;
  const auto& opening = said[OutputOf(rules.open_look_back)];
  const auto& closing = said[OutputOf(rules.close_look_back)];
  const auto steps = std::ssize(opening), length = std::ssize(input);
  const auto in_steps = [](float seconds) { return std::lround(50 * seconds); };
  const auto probable = [&](int64_t n) {
    return opening[static_cast<size_t>(n)] >= std::lround(32768 * rules.open_probability);
  };
  const auto quiet = [&](int64_t n) {
    return !probable(n) && closing[static_cast<size_t>(n)] <= std::lround(32768 * rules.close_probability);
  };
  const auto first_of = [&](int64_t from, int64_t count, auto is_one) {
    int64_t run = 0;
    for (int64_t n = from; n < steps; ++n) {
      run = is_one(n) ? run + 1 : 0;
      if (run == count) return n + 1 - count;
    }
    return int64_t{-1};
  };
  std::vector<vask_stream_event> events;
  int64_t from = 0, ready = 0;
  while (from >= 0 && (from = first_of(from, in_steps(rules.open), probable)) >= 0) {
    const int64_t first = from;
    int64_t start = from;
    int64_t end = first_of(start, in_steps(rules.pause), quiet);
    while (start > std::max(ready, from - 25) &&
           opening[static_cast<size_t>(start - 1)] >= std::lround(32768 * rules.start_probability))
      --start;
    from = end < 0 ? -1 : end + in_steps(rules.pause);
    const auto margin = static_cast<int64_t>(std::lround(16000 * rules.margin_end));
    ready = std::max(from, end + (margin + kStep - 1) / kStep);
    if (end < 0) {
      for (end = steps; quiet(end - 1);) --end;
    }
    const bool is_last = from < 0;
    double speech = 0, energy = 0;
    int32_t voiced = 0;
    for (int64_t n = start; n < end; ++n) {
      speech += opening[static_cast<size_t>(n)];
      voiced += opening[static_cast<size_t>(n)] >= 16384 ? 2 : 0;
    }
    for (int64_t i = start * kStep; i < std::min(end * kStep, length); ++i)
      energy += std::pow(input[static_cast<size_t>(i)], 2);
    int64_t paused = 0, run = 0;
    for (int64_t n = first; n < end; ++n) {
      run = quiet(n) ? run + 1 : 0;
      if (run == 4) paused += 4;
      if (run > 4) ++paused;
    }
    const auto count = static_cast<double>(end - start), spoken = static_cast<double>(end - start - paused);
    const int32_t complaint = end - start < in_steps(rules.shortest) ? VASK_STREAM_TOO_SHORT
                              : speech < spoken * std::lround(32768 * rules.mean_probability)
                                  ? VASK_STREAM_TOO_LITTLE_VOICE
                                  : 0;
    vask_stream_event event = {};
    event.kind = complaint == 0 ? VASK_STREAM_ENDED : VASK_STREAM_REJECTED;
    event.reason = complaint != 0 ? complaint : is_last ? VASK_STREAM_BY_INPUT_END : VASK_STREAM_BY_SILENCE;
    event.start = start * kStep;
    event.end = std::min(end * kStep, length);
    event.voiced_frames = voiced;
    event.level_db = static_cast<float>(10 * std::log10(energy / (count * kStep) / (1 << 30)));
    events.push_back(event);
  }
  int64_t taken = 0;
  for (size_t k = 0; k < events.size(); ++k) {
    const int64_t next = k + 1 < events.size() ? events[k + 1].start : length;
    vask_stream_event& event = events[k];
    event.span_start = std::max({event.start - std::lround(16000 * rules.margin_start), taken, int64_t{0}});
    event.span_end = std::min({event.end + std::lround(16000 * rules.margin_end), next, length});
    if (event.kind == VASK_STREAM_ENDED) taken = event.span_end;
  }
  return events;
}

void Compare(const std::vector<Heard>& heard, const std::vector<vask_stream_event>& expected,
             const Samples& audio) {
  ASSERT_EQ(heard.size(), expected.size());
  for (size_t k = 0; k < heard.size(); ++k) {
    const auto& [event, got] = heard[k];
    const vask_stream_event& e = expected[k];
    ASSERT_EQ(std::tuple(event.kind, event.reason, event.start, event.end, event.span_start, event.span_end,
                         event.voiced_frames),
              std::tuple(e.kind, e.reason, e.start, e.end, e.span_start, e.span_end, e.voiced_frames))
        << "segment " << k;
    ASSERT_NEAR(event.level_db, std::max(e.level_db, -200.0f), 0.01);
    const bool is_there = e.kind == VASK_STREAM_ENDED && !audio.empty();
    ASSERT_EQ(got, is_there ? Samples(audio.begin() + e.span_start, audio.begin() + e.span_end) : Samples())
        << "segment " << k;
  }
}

// Rules at random, with thresholds among what is said.
vask_stream_rules AnyRules(std::mt19937& random, const std::vector<std::vector<int32_t>>& said) {
  const auto any = [&](int32_t most) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(most + 1));
  };
  const auto seconds = [&](int32_t least, int32_t most) {
    return static_cast<float>(least + any(most - least)) / 50;
  };
  constexpr float kBacks[] = {0, 0.1f, 0.2f, 0.4f};
  vask_stream_rules rules = {};
  rules.open_look_back = kBacks[any(2)];
  rules.close_look_back = kBacks[any(3)];
  const auto quantile = [&](float look_back, double share) {
    std::vector<int32_t> values = said[OutputOf(look_back)];
    std::sort(values.begin(), values.end());
    return static_cast<float>(values[static_cast<size_t>(share * static_cast<double>(values.size() - 1))]) /
           32768;
  };
  rules.open_probability = quantile(rules.open_look_back, 0.4 + 0.05 * any(10));
  rules.close_probability = quantile(rules.close_look_back, 0.3 + 0.05 * any(10));
  rules.start_probability = rules.open_probability * (0.5f + 0.1f * static_cast<float>(any(5)));
  rules.mean_probability = rules.open_probability * (0.7f + 0.05f * static_cast<float>(any(6)));
  rules.open = seconds(1, any(1) == 0 ? 5 : 50);
  rules.pause = seconds(1, any(2) != 0 ? 20 : 500);
  rules.shortest = seconds(0, 30);
  rules.margin_start = static_cast<float>(any(any(1) == 0 ? 4000 : 160000)) / 16000;
  rules.margin_end = static_cast<float>(any(any(1) == 0 ? 8000 : 160000)) / 16000;
  return rules;
}

TEST(LearnedStream, FindsAndDeliversWhatItsRulesDefine) {
  const Samples input = Words();
  std::mt19937 random(1);
  size_t ended = 0, rejected = 0, cut = 0;
  for (const vask_model* model : {Loud(), Wild()}) {
    const auto said = Said(input, model);
    const Samples audio[] = {Continuous(input, VASK_STREAM_CLEAN, model),
                             input,
                             {},
                             Continuous(input, VASK_STREAM_LISTENING, model)};
    for (int round = 0; round < 60; ++round) {
      SCOPED_TRACE(std::string(model == Loud() ? "loud" : "wild") + ", round " + std::to_string(round) +
                   ", seed 1");
      StreamSetup setup = SetupOf(VASK_STREAM_UTTERANCES, round % 4, model);
      setup.rules = AnyRules(random, said);
      ASSERT_EQ(setup.Complaint(), nullptr);
      const auto expected = Define(input, setup, said);
      const size_t piece = random() % 3 == 0 ? 1 + random() % 3000 : 4096;
      Compare(Listen(setup, input, piece, round % 3 == 0 ? Reads::kEagerly : Reads::kAtTheEnd), expected,
              audio[round % 4]);
      if (HasFatalFailure()) return;
      for (const vask_stream_event& event : expected) {
        ++(event.kind == VASK_STREAM_ENDED ? ended : rejected);
        cut += event.span_end < event.end + std::lround(16000 * setup.rules.margin_end) ? 1 : 0;
      }
    }
  }
  EXPECT_GT(ended, 200u);
  EXPECT_GT(rejected, 50u);
  EXPECT_GT(cut, 100u);
}

// Vowels of 1.5 s with breaths of 0.1 s, in quiet.
Samples Breaths() {
  Samples input = Hiss(60, 20, 2);
  for (int i = 0; i < 6; ++i) input = Join({input, Vowel(150, 4000), Hiss(10, 20, 3)});
  return Join({input, Hiss(1100, 20, 4)});
}

TEST(LearnedStream, SplitsWhatIsTooLongWhereItIsQuietest) {
  const Samples input = Breaths();
  for (const float pause : {0.3f, 10.0f}) {  // the long one holds all pieces at once
    for (const int32_t audio : {VASK_STREAM_CLEAN, VASK_STREAM_RAW, VASK_STREAM_LISTENING}) {
      StreamSetup setup = SetupOf(VASK_STREAM_UTTERANCES, audio, Loud());
      setup.rules.pause = pause;
      const std::vector<Heard> whole = Listen(setup, input);
      ASSERT_EQ(whole.size(), 1u);
      for (const int32_t longest : {26000, 40000, 60000}) {
        setup.options.max_samples = longest;
        const Reads reads = longest == 40000 ? Reads::kEagerly : Reads::kAtTheEnd;
        const std::vector<Heard> parts = Listen(setup, input, 1000, reads);
        Samples joined;
        int32_t voiced = 0;
        for (const auto& [event, got] : parts) {
          const bool is_last = &event == &parts.back().event;
          ASSERT_EQ(event.span_start, whole[0].event.span_start + std::ssize(joined));  // none is missing
          joined.insert(joined.end(), got.begin(), got.end());
          voiced += event.voiced_frames;
          EXPECT_LE(std::ssize(got), longest);
          EXPECT_EQ(event.reason, is_last ? whole[0].event.reason : VASK_STREAM_BY_SPLIT);
          EXPECT_EQ(event.continues, &event == &parts.front().event ? 0 : 1);
          if (longest != 26000 && !is_last) {  // in one of the breaths
            EXPECT_GT((event.end - 60 * 160) % (160 * 160), 150 * 160 - 480) << event.end;
          }
        }
        EXPECT_GT(parts.size(), 2u);
        // A full last piece has no room for all of the margin.
        const Samples& all = whole[0].audio;
        ASSERT_LE(joined.size(), all.size());
        EXPECT_TRUE(std::equal(joined.begin(), joined.end(), all.begin())) << longest;
        EXPECT_GE(parts.back().event.span_end, whole[0].event.end);
        EXPECT_EQ(voiced, whole[0].event.voiced_frames);
      }
    }
  }
}

// Sound after 1.5 frames of digital silence; the last frame may not be whole.
TEST(LearnedStream, IsInStepWithTheInputWhenContinuous) {
  const Samples words = Words();
  for (const std::ptrdiff_t length : {1, 160, 239, 560, 60000, 60101}) {
    const Samples input = Join({Samples(240), Samples(words.begin() + 3000, words.begin() + 3000 + length)});
    StreamOptions engine;
    engine.mode = VASK_STREAM_CONTINUOUS;
    Listener cleaned(engine, Reads::kEagerly);
    cleaned.Hear(input);
    EXPECT_EQ(Continuous(input, VASK_STREAM_CLEAN, Wild()), cleaned.audio()) << length;
    EXPECT_EQ(Continuous(input, VASK_STREAM_RAW, Wild()), input) << length;
    EXPECT_EQ(Continuous(input, VASK_STREAM_NO_AUDIO, Wild()), Samples()) << length;
    StreamSetup setup = SetupOf(VASK_STREAM_CONTINUOUS, VASK_STREAM_LISTENING, Wild());
    setup.listening_mix = 0;
    Listener unfiltered(setup, Reads::kEagerly);
    unfiltered.Hear(input);
    EXPECT_EQ(unfiltered.audio(), input) << length;
    EXPECT_TRUE(unfiltered.segments().empty());
  }
}

}  // namespace
}  // namespace vask::test
