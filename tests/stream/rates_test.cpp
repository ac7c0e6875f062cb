// Streams at other rates than 16 kHz, against their definition: the events are those of a stream at 16 kHz on
// the converted input, the audio is that stream's, converted.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "resample/resampler.h"
#include "support/listener.h"
#include "support/loud_model.h"
#include "support/scene.h"

namespace vask::test {
namespace {

using Reads = Listener::Reads;

constexpr int32_t kRates[] = {8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100, 48000};

const vask_model* Wild() {
  static const ModelFile file(MakeModel(32, 48, 32, Kind::kTrained, 4));
  return file.get();
}

Samples Convert(const Samples& in, int32_t from, int32_t to) {
  if (from == to) return in;
  Resampler resampler;
  EXPECT_TRUE(resampler.Open(from, to));
  Samples out, some(1000);
  for (size_t at = 0; at < in.size();) {
    at += resampler.Take(std::span(in).subspan(at));
    while (const size_t n = resampler.Give(some))
      out.insert(out.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(n));
  }
  while (const size_t n = resampler.GiveRest(some))
    out.insert(out.end(), some.begin(), some.begin() + static_cast<std::ptrdiff_t>(n));
  resampler.Close();
  return out;
}

vask_stream_setup SetupOf(int32_t detector, int32_t mode, int32_t audio, int32_t input_rate,
                          int32_t audio_rate) {
  StreamSetup setup;
  setup.detector = detector;
  setup.options.mode = mode;
  setup.options.audio = audio;
  setup.model = Wild();
  setup.input_rate = input_rate;
  setup.audio_rate = audio_rate;
  return setup;
}

// Speech, a burst that is rejected, speech until the end, whose last frame is not whole.
Samples Words(int32_t rate) {
  const Samples room = Room();
  const Samples words =
      Join({Burst(), Utterance(), Samples(room.begin() + 16000, room.begin() + 56000), Vowel(150, 4000)});
  Samples input = Convert(words, 16000, rate);
  input.erase(input.end() - 77, input.end());
  return input;
}

Listener Listen(const vask_stream_setup& setup, const Samples& input, size_t piece = 1000,
                Reads reads = Reads::kAtTheEnd) {
  Listener listener(setup, reads);
  listener.Hear(input, piece);
  return listener;
}

Samples Audio(const vask_stream_setup& setup, const Samples& input) {  // in continuous mode
  return Listen(setup, input, 1000, Reads::kEagerly).audio();
}

std::vector<Heard> Segments(const vask_stream_setup& setup, const Samples& input) {
  return Listen(setup, input).segments();
}

int64_t Scaled(int64_t position, int32_t rate, const Samples& input) {
  return position < 0 ? position : std::min(position * rate / 16000, static_cast<int64_t>(input.size()));
}

struct Case {
  int32_t detector, audio;
};
constexpr Case kCases[] = {{VASK_STREAM_ENERGY, VASK_STREAM_CLEAN},
                           {VASK_STREAM_LEARNED, VASK_STREAM_RAW},
                           {VASK_STREAM_LEARNED, VASK_STREAM_LISTENING}};

std::string NameOf(const Case& c, int32_t rate) {
  return "detector " + std::to_string(c.detector) + ", audio " + std::to_string(c.audio) + ", " +
         std::to_string(rate) + " Hz";
}

TEST(StreamRates, HaveTheEventsAndAudioOfTheConvertedInput) {
  for (const int32_t rate : kRates) {
    const Samples input = Words(rate), converted = Convert(input, rate, 16000);
    for (const Case& c : kCases) {
      const auto here = Segments(SetupOf(c.detector, VASK_STREAM_UTTERANCES, c.audio, rate, 16000), input);
      auto there = Segments(SetupOf(c.detector, VASK_STREAM_UTTERANCES, c.audio, 0, 0), converted);
      ASSERT_GE(there.size(), 1u);
      for (auto& [event, audio] : there) {
        for (int64_t* p : {&event.start, &event.end, &event.span_start, &event.span_end, &event.heard})
          *p = Scaled(*p, rate, input);
      }
      EXPECT_EQ(here, there) << NameOf(c, rate);
      EXPECT_EQ(here.back().event.heard, std::ssize(input)) << NameOf(c, rate);
      EXPECT_EQ(Audio(SetupOf(c.detector, VASK_STREAM_CONTINUOUS, c.audio, rate, 16000), input),
                Audio(SetupOf(c.detector, VASK_STREAM_CONTINUOUS, c.audio, 0, 0), converted));
    }
  }
}

// Away from its ends, an utterance's audio is a part of the converted whole.
TEST(StreamRates, GiveAsManySamplesAsWereWrittenEachInItsPlace) {
  for (const int32_t rate : kRates) {
    const Samples input = Words(rate);
    for (const Case& c : kCases) {
      const Samples all = Audio(SetupOf(c.detector, VASK_STREAM_CONTINUOUS, c.audio, rate, rate), input);
      EXPECT_EQ(all.size(), input.size()) << NameOf(c, rate);
      if (c.audio == VASK_STREAM_RAW) {
        Samples twice = Convert(Convert(input, rate, 16000), 16000, rate);
        twice.resize(input.size());
        EXPECT_EQ(all, twice) << NameOf(c, rate);
      }
      for (const auto& [event, audio] :
           Segments(SetupOf(c.detector, VASK_STREAM_UTTERANCES, c.audio, rate, rate), input)) {
        if (event.kind != VASK_STREAM_ENDED) continue;
        ASSERT_EQ(std::ssize(audio), event.span_end - event.span_start) << NameOf(c, rate);
        if (c.audio != VASK_STREAM_RAW) continue;
        const int64_t edge = rate / 100;
        EXPECT_TRUE(
            std::equal(audio.begin() + edge, audio.end() - edge, all.begin() + event.span_start + edge))
            << NameOf(c, rate);
      }
    }
  }
}

// A piece is a part of the utterance that is not split, but for the edge where a margin is cut short.
TEST(StreamRates, ContinueWithoutASeamWhereAnUtteranceIsSplit) {
  for (const int32_t rate : kRates) {
    const Samples input = Words(rate);
    for (const Case& c : kCases) {
      vask_stream_setup setup = SetupOf(c.detector, VASK_STREAM_UTTERANCES, c.audio, rate, rate);
      const auto whole = Segments(setup, input);
      setup.options.max_samples = 25600;
      int64_t end = -1;
      int32_t splits = 0;
      for (const Heard& piece : Segments(setup, input)) {
        const vask_stream_event& event = piece.event;
        const Samples& audio = piece.audio;
        if (event.kind != VASK_STREAM_ENDED) continue;
        EXPECT_TRUE(event.continues == 0 || event.span_start == end) << NameOf(c, rate);
        splits += event.continues;
        end = event.span_end;
        const auto all = std::find_if(whole.begin(), whole.end(), [&](const Heard& heard) {
          return heard.event.kind == VASK_STREAM_ENDED && heard.event.span_end >= event.span_end;
        });
        ASSERT_NE(all, whole.end());
        const int64_t edge = event.reason == VASK_STREAM_BY_SPLIT ? 0 : rate / 100;
        const int64_t offset = event.span_start - all->event.span_start;
        EXPECT_TRUE(std::equal(audio.begin(), audio.end() - edge, all->audio.begin() + offset))
            << NameOf(c, rate) << ", piece at " << event.span_start;
      }
      EXPECT_GE(splits, 1) << NameOf(c, rate);
    }
  }
}

TEST(StreamRates, LoseNothingAtTheBoundOfTheQueue) {
  for (const int32_t rate : {8000, 44100}) {
    Samples input = Words(rate);
    for (const Case& c : kCases) {
      vask_stream_setup setup = SetupOf(c.detector, VASK_STREAM_CONTINUOUS, c.audio, rate, rate);
      const Samples expected = Audio(setup, input);
      setup.options.queue_samples = 100000;
      vask::Stream stream(setup);
      Samples heard, room(1000);
      bool was_full = false, done = false;
      for (size_t at = 0; !done;) {
        const int32_t taken = at < input.size() ? stream.Write(std::span(input).subspan(at)) : stream.Flush();
        was_full = was_full || taken == VASK_STREAM_FULL;
        done = at == input.size() && taken == 0;
        ASSERT_TRUE(taken > 0 || taken == VASK_STREAM_FULL || done);
        at += static_cast<size_t>(std::max(taken, 0));
        if (taken > 0 && at < input.size()) continue;  // until nothing more goes in
        for (auto got = stream.Read(room); !got.empty(); got = stream.Read(room))
          heard.insert(heard.end(), got.begin(), got.end());
      }
      EXPECT_TRUE(was_full);
      EXPECT_EQ(heard, expected) << NameOf(c, rate);
    }
  }
}

TEST(StreamRates, MeasureAtPositionsOfTheInput) {
  for (const int32_t rate : kRates) {
    vask::Stream stream(SetupOf(VASK_STREAM_LEARNED, VASK_STREAM_CONTINUOUS, VASK_STREAM_CLEAN, rate, 0));
    const Samples second(static_cast<size_t>(rate));
    EXPECT_EQ(stream.Write(second), rate);
    const int64_t heard = stream.Measures().heard, step = stream.Hearing()->at;
    EXPECT_GE(heard, rate * 98 / 100) << "less the filter's delay";
    EXPECT_LE(heard, rate);
    EXPECT_EQ(stream.Measures().detector_at, step);
    EXPECT_NEAR(static_cast<double>(step), 0.98 * rate, 0.03 * rate);
    stream.Reset();
    EXPECT_EQ(stream.Measures().heard, 0);
  }
}

}  // namespace
}  // namespace vask::test
