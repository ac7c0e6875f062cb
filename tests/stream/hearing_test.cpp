// The learned detector with the model that is built in: labelled speech, at every level and after anything.
#include <gtest/gtest.h>
#include <vask/model.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "support/listener.h"
#include "support/scene.h"

namespace vask::test {
namespace {

using Spans = std::vector<std::pair<double, double>>;  // start and end of utterances: s

// As samples/room.json has them.
const Spans kSpoken = {{1.01, 3.71}, {5.44, 7.08}, {9.04, 11.12}, {12.97, 14.21}, {16.23, 18.42}};

Spans UtterancesIn(const Samples& input) {
  StreamSetup setup;
  setup.options.audio = VASK_STREAM_NO_AUDIO;
  Listener listener(setup);
  listener.Hear(input, 4096);
  Spans spans;
  for (const Heard& heard : listener.segments()) {
    const vask_stream_event& event = heard.event;
    if (event.kind != VASK_STREAM_ENDED) continue;
    spans.emplace_back(static_cast<double>(event.start) / 16000, static_cast<double>(event.end) / 16000);
  }
  return spans;
}

Samples AtLevel(Samples samples, double db) {
  const double factor = std::pow(10, db / 20);
  for (int16_t& sample : samples) {
    sample = static_cast<int16_t>(std::clamp<double>(std::round(sample * factor), -32768, 32767));
  }
  return samples;
}

// Each is found as one, with both edges within `tolerance` seconds.
void ExpectFound(const Spans& found, const Spans& spoken, double tolerance, const std::string& what) {
  ASSERT_EQ(found.size(), spoken.size()) << what;
  for (size_t k = 0; k < found.size(); ++k) {
    EXPECT_NEAR(found[k].first, spoken[k].first, tolerance) << what << ", utterance " << k + 1;
    EXPECT_NEAR(found[k].second, spoken[k].second, tolerance) << what << ", utterance " << k + 1;
  }
}

Spans Later(Spans spans, double seconds) {
  for (auto& [start, end] : spans) {
    start += seconds;
    end += seconds;
  }
  return spans;
}

class Hearing : public testing::Test {
 protected:
  void SetUp() override {
    if (vask_model_digest(nullptr) == 0) GTEST_SKIP() << "no model is built in";
  }
};

TEST_F(Hearing, FindsTheSameAtEveryLevel) {
  // +12 dB clips the loudest.
  for (const double db : {0.0, -18.0, -12.0, 12.0}) {
    ExpectFound(UtterancesIn(AtLevel(Room(), db)), kSpoken, 0.13, std::to_string(db) + " dB");
  }
}

TEST_F(Hearing, FindsTheSameWhateverCameBefore) {
  const Samples room = Room();
  const Spans alone = UtterancesIn(room);
  const double length = static_cast<double>(room.size()) / 16000;
  const std::pair<std::string, Samples> others[] = {{"zeros", Samples(60 * 16000)},
                                                    {"loud hiss", Hiss(3000, 20000, 3)},
                                                    {"faint hiss", Hiss(3000, 3, 3)},
                                                    {"louder speech", AtLevel(room, 9)}};
  for (const auto& [name, other] : others) {
    const Spans all = UtterancesIn(Join({room, other, room}));
    const double second = length + static_cast<double>(other.size()) / 16000;
    Spans before, after;
    for (const auto& span : all) {
      if (span.second < length) before.push_back(span);
      if (span.first > second) after.push_back(span);
    }
    ExpectFound(before, alone, 0.001, "before " + name);
    ExpectFound(after, Later(alone, second), 0.045, "after " + name);  // two steps of 0.02 s
  }
}

TEST_F(Hearing, FindsNothingWhereNobodySpeaks) {
  Samples tones(10 * 16000), clicks(10 * 16000);
  for (size_t i = 0; i < tones.size(); ++i) {
    const double time = static_cast<double>(i) / 16000;
    const double pitch = std::fmod(time, 1) < 0.4 ? 697 : 1209;  // as a telephone dials
    tones[i] = static_cast<int16_t>(8000 * std::sin(2 * 3.14159265 * pitch * time));
    clicks[i] = static_cast<int16_t>(i % 8000 < 40 ? (i % 2 == 0 ? 20000 : -20000) : 0);
  }
  for (const auto& [name, input] : {std::pair("zeros", Samples(10 * 16000)),
                                    {"hiss", Hiss(1000, 3000, 5)},
                                    {"faint hiss", Hiss(1000, 2, 5)},
                                    {"tones", tones},
                                    {"clicks", clicks}}) {
    EXPECT_EQ(UtterancesIn(input), Spans()) << name;
  }
}

}  // namespace
}  // namespace vask::test
