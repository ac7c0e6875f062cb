// Streams compared with an engine driven by hand: the same bits and positions, and what the options change.
#include <gtest/gtest.h>
#include <vask/engine.h>
#include <vask/stream.hpp>

#include <algorithm>
#include <optional>
#include <vector>

#include "support/listener.h"
#include "support/scene.h"
#include "support/stream.h"

namespace vask::test {
namespace {

using Reads = Listener::Reads;

std::vector<Heard> Listen(const vask_stream_options& options, const Samples& input,
                          Reads reads = Reads::kEagerly) {
  Listener listener(options, reads);
  listener.Hear(input);
  return listener.segments();
}

// Speech, a burst that is not speech, all-zero silence at both ends, and speech up to the last sample.
Samples Scene() {
  Samples room = Room();
  return Join({Samples(5 * 160), room, Burst(), Samples(room.begin(), room.begin() + 40000)});
}

// Two engines side by side: that of the process, and one whose record can be inspected.
class EnginePair {
 public:
  explicit EnginePair(int32_t mode) : own_(mode), mode_(mode) {
    EXPECT_EQ(Vask_epd_init(".", mode), 1);
    WrapUpBoth();
  }
  ~EnginePair() { Vask_epd_stop(); }

  Emitted Process(const Samples& samples, size_t t) {
    Samples frame(&samples[160 * t], &samples[160 * t] + 160), out(kQueueFrames * kFrame);
    int32_t count = 0;
    const auto process = mode_ == 1 ? Vask_epd_speechenhance : Vask_epd_frames;
    const int32_t result = process(frame.data(), 160, out.data(), &count);
    out.resize(static_cast<size_t>(count));
    EXPECT_EQ(own_.Process(mode_, samples, t), (Emitted{result, out})) << "frame " << t;
    return {result, out};
  }
  void WrapUpBoth() {
    Vask_epd_wrapup(nullptr, nullptr);
    WrapUp(own_.state);
  }
  const epd_engine& state() const { return own_.state; }

 private:
  Stream own_;
  int32_t mode_;
};

// Frame by frame, wrapped up and given the last frame again when the engine has decided.
std::vector<Heard> ListenByHand(const Samples& input) {
  EnginePair engine(2);
  std::vector<Heard> segments;
  Samples audio;
  int64_t origin = 0, first = 0, start = 0;
  for (size_t t = 0; t < input.size() / 160; ++t) {
    const bool had_started = engine.state().started != 0;
    const Emitted emitted = engine.Process(input, t);
    if (!had_started) origin = static_cast<int64_t>(t);
    const auto& epd = engine.state().epd;
    if (!emitted.samples.empty() && audio.empty()) {
      start = 160 * (origin + epd.start_frame);
      first = start - 160 * std::min(epd.start_frame, 35);
    }
    audio.insert(audio.end(), emitted.samples.begin(), emitted.samples.end());
    if (emitted.result == 0) continue;
    vask_stream_event event = {};
    event.kind = emitted.result == 1 ? VASK_STREAM_ENDED : VASK_STREAM_REJECTED;
    event.start = start;
    event.end = 160 * (origin + epd.frame_index - 103);
    event.span_start = first;
    event.span_end = first + static_cast<int64_t>(audio.size());
    event.voiced_frames = emitted.result == 1 ? epd.uv.voiced_frames : -1;
    if (emitted.result == 2) audio.clear();
    segments.push_back({event, std::exchange(audio, {})});
    engine.WrapUpBoth();
    engine.Process(input, t);
    origin = static_cast<int64_t>(t);
  }
  return segments;
}

TEST(Stream, GivesTheBitsAndPositionsOfTheEngineInPiecesOfAnySize) {
  const Samples input = Scene();
  const std::vector<Heard> expected = ListenByHand(input), first = Listen(StreamOptions(), input);
  ASSERT_EQ(first.size(), expected.size() + 1);
  for (size_t k = 0; k < expected.size(); ++k) {
    const auto& [e, audio] = expected[k];
    const auto& [f, got] = first[k];
    ASSERT_EQ(std::tuple(f.kind, f.start, f.end, f.span_start, f.span_end),
              std::tuple(e.kind, e.start, e.end, e.span_start, e.span_end))
        << "segment " << k;
    ASSERT_EQ(got, audio) << "segment " << k;
    ASSERT_EQ(f.voiced_frames, e.voiced_frames < 0 ? f.voiced_frames : e.voiced_frames);
  }
  const auto& [last, audio] = first.back();  // ended by the end of the input alone
  EXPECT_EQ(last.reason, VASK_STREAM_BY_INPUT_END);
  EXPECT_EQ(last.span_end, static_cast<int64_t>(input.size()));
  EXPECT_EQ(static_cast<int64_t>(audio.size()), last.span_end - last.span_start);
  for (const size_t piece : {size_t{1}, size_t{160}, size_t{161}, size_t{16000}, input.size()}) {
    for (const Reads reads : {Reads::kAtTheEnd, Reads::kEagerly}) {
      Listener listener(StreamOptions(), reads);
      listener.Hear(input, piece);
      EXPECT_TRUE(listener.segments() == first) << "pieces of " << piece;
      listener.Reset();
      listener.Hear(input, piece);
      EXPECT_TRUE(listener.segments() == first) << "again, pieces of " << piece;
    }
  }
}

TEST(Stream, ContinuousAudioIsThatOfTheEngineAndInStepWithTheInput) {
  const Samples input = Join({Samples(480), Room(), Samples(77, 1000)});
  StreamOptions options;
  options.mode = VASK_STREAM_CONTINUOUS;
  Listener clean(options, Reads::kEagerly);
  clean.Hear(input);
  const Samples& out = clean.audio();
  ASSERT_EQ(out.size(), input.size());
  EnginePair engine(1);
  Samples expected(480);
  for (size_t t = 0; t < input.size() / 160; ++t) {
    const Samples emitted = engine.Process(input, t).samples;
    expected.insert(expected.end(), emitted.begin(), emitted.end());
  }
  EXPECT_EQ(Samples(out.begin(), out.begin() + static_cast<int64_t>(expected.size())), expected);
  EXPECT_GE(expected.size() + 480, input.size() - 80);
  options.audio = VASK_STREAM_RAW;
  Listener raw(options, Reads::kEagerly);
  raw.Hear(input);
  EXPECT_EQ(raw.audio(), input);
}

TEST(Stream, PaddingCutsTheSpanAndRawAudioIsTheInput) {
  const Samples input = Scene();
  const std::vector<Heard> whole = Listen(StreamOptions(), input);
  StreamOptions options;
  for (const auto& [before, after] : {std::pair(0, 0), {1600, 4000}, {777, 1}, {99999, 99999}}) {
    options.pad_start = before;
    options.pad_end = after;
    for (const int32_t audio : {VASK_STREAM_CLEAN, VASK_STREAM_RAW, VASK_STREAM_NO_AUDIO}) {
      options.audio = audio;
      const std::vector<Heard> cut = Listen(options, input);
      ASSERT_EQ(cut.size(), whole.size());
      for (size_t k = 0; k < cut.size(); ++k) {
        const auto& [w, all] = whole[k];
        const auto& [e, got] = cut[k];
        ASSERT_EQ(e.span_start, std::max(w.span_start, w.start - before));
        ASSERT_EQ(e.span_end, std::max(e.span_start, std::min(w.span_end, w.end + after)));
        const bool is_there = audio != VASK_STREAM_NO_AUDIO && e.kind == VASK_STREAM_ENDED;
        const Samples& source = audio == VASK_STREAM_RAW ? input : all;
        const int64_t shift = audio == VASK_STREAM_RAW ? 0 : w.span_start;
        ASSERT_EQ(got, is_there ? Samples(source.begin() + e.span_start - shift,
                                          source.begin() + e.span_end - shift)
                                : Samples());
      }
    }
  }
}

TEST(Stream, SplitsWhatIsTooLongWhereItIsQuietest) {
  // Vowels of 1.5 s with breaths of 0.1 s: no pause is long enough to end the utterance.
  Samples input = Hiss(60, 20, 2);
  for (int i = 0; i < 6; ++i) input = Join({input, Vowel(150, 4000), Hiss(10, 20, 3)});
  input = Join({input, Hiss(170, 20, 4)});
  const std::vector<Heard> whole = Listen(StreamOptions(), input);
  ASSERT_EQ(whole.size(), 1u);
  StreamOptions options;
  for (const int32_t longest : {24000, 40000, 60000}) {
    for (const Reads reads : {Reads::kAtTheEnd, Reads::kEagerly}) {
      options.max_samples = longest;
      const std::vector<Heard> parts = Listen(options, input, reads);
      Samples joined;
      for (const auto& [event, audio] : parts) {
        const bool is_last = &event == &parts.back().event;
        joined.insert(joined.end(), audio.begin(), audio.end());
        EXPECT_LE(static_cast<int32_t>(audio.size()), longest);
        EXPECT_EQ(event.reason, is_last ? VASK_STREAM_BY_SILENCE : VASK_STREAM_BY_SPLIT);
        EXPECT_EQ(event.continues, &event == &parts.front().event ? 0 : 1);
        if (longest != 24000 && !is_last) {  // in one of the breaths
          const int64_t in_period = (event.end - 60 * 160) % (160 * 160);
          EXPECT_TRUE(in_period > 150 * 160 - 480) << event.end;
        }
      }
      EXPECT_GT(parts.size(), 2u);
      const Samples& all = whole[0].audio;
      ASSERT_LE(joined.size(), all.size());
      EXPECT_TRUE(std::equal(joined.begin(), joined.end(), all.begin()));
      EXPECT_GE(parts.back().event.span_end, whole[0].event.end);
    }
  }
}

TEST(Stream, EndsWhereSpeechFellSilentHoweverLongTheHangover) {
  const Samples speech = Utterance();  // frames 60 to 140
  for (const bool is_robust : {false, true}) {
    for (const int32_t hangover : {50, 100, 180, 500, 3000}) {
      StreamOptions options;
      if (is_robust) options.Robust();
      options.max_tone_percent = 100;
      options.profile.hangover_frames = hangover;
      const std::vector<Heard> heard =
          Listen(options, Join({speech, Hiss(static_cast<size_t>(hangover), 20, 5)}));
      ASSERT_EQ(heard.size(), 1u) << hangover;
      EXPECT_EQ(heard[0].event.reason, VASK_STREAM_BY_SILENCE) << hangover;
      EXPECT_NEAR(static_cast<double>(heard[0].event.end), 142 * 160, 480) << hangover;
    }
  }
  // Noise after the vowel until frame 290: cut 190 frames after the last voiced one, in the hangover.
  const Samples noise = Hiss(150, 4000, 6);
  const std::vector<Heard> cut = Listen(
      StreamOptions(), Join({Samples(speech.begin(), speech.begin() + 140 * 160), noise, Hiss(100, 20, 7)}));
  ASSERT_EQ(cut.size(), 1u);
  EXPECT_EQ(cut[0].event.reason, VASK_STREAM_BY_LONG_NOISE);
  EXPECT_NEAR(static_cast<double>(cut[0].event.end), 291 * 160, 480);
}

// At the end of the input a long hangover holds many pieces at once.
TEST(Stream, SplitsAllThatTheHangoverHolds) {
  Samples input = Hiss(60, 20, 2);
  for (int i = 0; i < 50; ++i) input = Join({input, Vowel(70, 4000), Hiss(10, 20, 3)});
  StreamOptions options;
  options.profile.hangover_frames = 3000;
  options.max_samples = 24000;
  const std::vector<Heard> parts = Listen(options, input);
  EXPECT_GE(parts.size(), 45u);
  for (size_t k = 1; k < parts.size(); ++k) ASSERT_EQ(parts[k].event.span_start, parts[k - 1].event.span_end);
  EXPECT_EQ(parts.back().event.span_end, static_cast<int64_t>(input.size()));
}

TEST(Stream, RejectsByItsOptionsAndSaysWhy) {
  const Samples room = Room(), speech(room.begin(), room.begin() + 80000);  // one utterance of 2.46 s
  const Samples buzz = Utterance();                                         // 0.8 s, as even as a tone
  struct Case {
    const Samples& input;
    int32_t min_samples, min_voiced, max_tones, reason;
  };
  for (const Case& c :
       {Case{speech, 0, 0, 100, VASK_STREAM_BY_SILENCE}, Case{speech, 39000, 60, 50, VASK_STREAM_BY_SILENCE},
        Case{speech, 41000, 0, 100, VASK_STREAM_TOO_SHORT},
        Case{speech, 0, 250, 100, VASK_STREAM_TOO_LITTLE_VOICE},
        Case{buzz, 0, 0, 100, VASK_STREAM_BY_SILENCE}, Case{buzz, 0, 0, 50, VASK_STREAM_TONES}}) {
    StreamOptions options;
    options.min_samples = c.min_samples;
    options.min_voiced_frames = c.min_voiced;
    options.max_tone_percent = c.max_tones;
    const std::vector<Heard> heard = Listen(options, c.input);
    ASSERT_EQ(heard.size(), 1u);
    const auto& [event, audio] = heard[0];
    EXPECT_EQ(event.reason, c.reason);
    EXPECT_EQ(audio.empty(), event.kind == VASK_STREAM_REJECTED);
  }
  EXPECT_EQ(Listen(StreamOptions(), Burst()).at(0).event.reason, VASK_STREAM_TOO_LITTLE_VOICE);
}

TEST(Stream, AnEndOfInputIsJudgedByWhatThereIs) {
  const Samples speech = Utterance();  // begins at frame 60 and falls silent at frame 140
  struct Case {
    int64_t frames;
    int32_t reason;
    int64_t end;
  };
  for (const Case& c : {Case{66, VASK_STREAM_TOO_SHORT, 66}, Case{70, VASK_STREAM_BY_INPUT_END, 70},
                        Case{100, VASK_STREAM_BY_INPUT_END, 100}, Case{200, VASK_STREAM_BY_INPUT_END, 142}}) {
    const std::vector<Heard> heard =
        Listen(StreamOptions(), Samples(speech.begin(), speech.begin() + 160 * c.frames - 33));
    ASSERT_EQ(heard.size(), 1u) << c.frames;
    const auto& [event, audio] = heard[0];
    EXPECT_EQ(event.reason, c.reason);
    EXPECT_NEAR(static_cast<double>(event.end), static_cast<double>(160 * c.end), 480.0);
    EXPECT_EQ(event.span_end, 160 * c.frames - 33);
    const bool is_there = event.kind == VASK_STREAM_ENDED;
    EXPECT_EQ(static_cast<int64_t>(audio.size()), is_there ? event.span_end - event.span_start : 0);
  }
  vask::Stream stream;
  stream.Write(speech);
  for (int call = 0; call < 2; ++call) EXPECT_EQ(stream.Flush(), 0);
  EXPECT_EQ(stream.Write(speech), VASK_STREAM_OVER);
}

TEST(Stream, AFullQueueLosesNothing) {
  const Samples input = Scene();
  StreamOptions options;
  options.queue_samples = 48000;
  vask::Stream stream(options);
  int32_t taken = 1;
  for (size_t done = 0; taken > 0 && done < input.size(); done += static_cast<size_t>(taken))
    taken = stream.Write(std::span(input).subspan(done));
  EXPECT_EQ(taken, VASK_STREAM_FULL);
  EXPECT_TRUE(Listen(options, input) == Listen(StreamOptions(), input));
}

TEST(Stream, MeasuresTheNewestFrame) {
  vask::Stream stream;
  EXPECT_EQ(stream.Measures().level_db, -200.0f);
  stream.Write(Samples(160, -32768));
  EXPECT_EQ(stream.Measures().level_db, 0.0f);
  EXPECT_EQ(stream.Measures().detector_at, -1);
  stream.Reset();
  int32_t speech = 0, voiced = 0, open = 0;
  const Samples input = Utterance();
  for (size_t t = 0; t < 200; ++t) {
    stream.Write(std::span(input).subspan(160 * t, 160));
    const vask_stream_measures measures = stream.Measures();
    EXPECT_EQ(measures.heard, static_cast<int64_t>(160 * (t + 1)));
    EXPECT_EQ(measures.detector_at, t < 3 ? -1 : static_cast<int64_t>(160 * (t - 3)));
    speech += measures.speech;
    voiced += measures.voiced;
    open += measures.open;
    if (t == 55) {
      EXPECT_LT(measures.energy_db, measures.noise_db + 3.0f);
    }
    if (t == 100) {
      EXPECT_GT(measures.energy_db, measures.noise_db + 20.0f);
    }
    // Evenly spread -20 to 20: a mean square of 140.
    if (t == 30) {
      EXPECT_NEAR(measures.level_db, 10 * std::log10(140.0 / (1 << 30)), 1.0);
    }
  }
  EXPECT_NEAR(voiced, 80, 4);
  EXPECT_EQ(speech, open);
  EXPECT_EQ(speech, 200 - 75 + 1);
}

}  // namespace
}  // namespace vask::test
