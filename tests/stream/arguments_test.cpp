// Which options and arguments a stream refuses, and in which words.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <vask/stream.hpp>
#include <vector>

#include "support/loud_model.h"

namespace vask {
namespace {

TEST(StreamArguments, AreRefusedWhenBad) {
  struct Case {
    int32_t vask_stream_options::*field;
    int32_t value;
    std::string complaint;
  };
  for (const Case& c :
       {Case{&vask_stream_options::mode, 3, "mode is not 1 or 2"},
        Case{&vask_stream_options::audio, -1, "audio is not 0, 1 or 2"},
        Case{&vask_stream_options::pad_start, -2, "pad_start is not -1 to 1000000000 samples"},
        Case{&vask_stream_options::max_samples, 23999, "max_samples is not 0 or 24000 to 1000000000"},
        Case{&vask_stream_options::max_tone_percent, 101, "max_tone_percent is not 0 to 100"},
        Case{&vask_stream_options::queue_samples, 47999, "queue_samples is under 2 s and the hangover"}}) {
    StreamOptions options;
    EXPECT_EQ(options.Complaint(), nullptr);
    options.*c.field = c.value;
    ASSERT_NE(options.Complaint(), nullptr) << c.complaint;
    EXPECT_EQ(options.Complaint(), c.complaint);
    EXPECT_FALSE(Stream(options));
  }
  for (int32_t epd_profile::*field :
       {&epd_profile::hangover_frames, &epd_profile::sample_shift, &epd_profile::energy_shift}) {
    for (const int32_t value : {INT32_MIN, -1, 3001, INT32_MAX}) {
      StreamOptions options;
      options.profile.*field = value;
      EXPECT_NE(options.Complaint(), nullptr);
    }
  }
  StreamOptions options;
  options.min_samples = options.max_samples = 24000;
  EXPECT_EQ(options.Complaint(), nullptr);
  ++options.min_samples;
  EXPECT_STREQ(options.Complaint(), "min_samples is above max_samples");
  Stream stream;
  vask_stream_event event;
  int16_t sample = 0;
  vask_stream_measures measures;
  EXPECT_EQ(vask_stream_write(nullptr, &sample, 1), VASK_STREAM_BAD_ARGUMENT);
  EXPECT_EQ(vask_stream_flush(nullptr), VASK_STREAM_BAD_ARGUMENT);
  EXPECT_EQ(vask_stream_measure(nullptr, &measures), VASK_STREAM_BAD_ARGUMENT);
  EXPECT_EQ(vask_stream_next(nullptr, &event), 0);
  EXPECT_EQ(vask_stream_read(nullptr, &sample, 1), 0);
  EXPECT_EQ(vask_stream_available(nullptr), 0);
  EXPECT_NE(vask_stream_complaint(nullptr), nullptr);
  vask_stream_reset(nullptr);
  vask_stream_close(nullptr);
  EXPECT_EQ(stream.Write({static_cast<int16_t*>(nullptr), size_t{0}}), 0);
}

TEST(StreamArguments, OfTheLearnedDetectorAreRefusedWhenBad) {
  using Setup = vask_stream_setup;
  struct Case {
    void (*change)(Setup& setup);
    std::string complaint;  // empty: none
  };
  for (const Case& c : {
           Case{[](Setup&) {}, ""},
           Case{[](Setup& s) { --s.size; }, "size is not that of a vask_stream_setup"},
           Case{[](Setup& s) { s.detector = 2; }, "detector is not 0 or 1"},
           Case{
               [](Setup& s) { s.input_rate = 48001; },
               "input_rate is not one of 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000 Hz"},
           Case{
               [](Setup& s) { s.audio_rate = -1; },
               "audio_rate is not one of 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000 Hz"},
           Case{
               [](Setup& s) { s.detector = VASK_STREAM_ENERGY, s.input_rate = 1, s.audio_rate = 2; },
               "input_rate is not one of 8000, 11025, 12000, 16000, 22050, 24000, 32000, 44100 and 48000 Hz"},
           Case{[](Setup& s) { s.input_rate = 44100, s.audio_rate = 0; }, ""},
           Case{[](Setup& s) { s.options.mode = 0; }, "mode is not 1 or 2"},
           Case{[](Setup& s) { s.options.audio = 4; }, "audio is not 0 to 3"},
           Case{[](Setup& s) { s.rules.open_probability = 1.01f; }, "open_probability is not 0 to 1"},
           Case{[](Setup& s) { s.rules.open = NAN; }, "open is not 0.02 to 1 s"},
           Case{[](Setup& s) { s.rules.open_look_back = 0.4f; }, "open_look_back is not 0, 0.1 or 0.2 s"},
           Case{[](Setup& s) { s.rules.start_probability = -1; }, "start_probability is not 0 to 1"},
           Case{[](Setup& s) { s.rules.close_probability = INFINITY; }, "close_probability is not 0 to 1"},
           Case{[](Setup& s) { s.rules.pause = 0.01f; }, "pause is not 0.02 to 10 s"},
           Case{[](Setup& s) { s.rules.close_look_back = 0.3f; },
                "close_look_back is not 0, 0.1, 0.2 or 0.4 s"},
           Case{[](Setup& s) { s.rules.shortest = 11; }, "shortest is not 0 to 10 s"},
           Case{[](Setup& s) { s.rules.mean_probability = NAN; }, "mean_probability is not 0 to 1"},
           Case{[](Setup& s) { s.rules.margin_start = 10.1f; }, "margin_start is not 0 to 10 s"},
           Case{[](Setup& s) { s.rules.margin_end = -0.1f; }, "margin_end is not 0 to 10 s"},
           Case{[](Setup& s) { s.listening_floor_db = 1; }, "listening_floor_db is not -60 to 0"},
           Case{[](Setup& s) { s.listening_mix = NAN; }, "listening_mix is not 0 to 1"},
           // 1.5 s and the margin of 0.1 s
           Case{[](Setup& s) { s.options.max_samples = 25600; }, ""},
           Case{[](Setup& s) { s.options.max_samples = 25599; },
                "max_samples is under 1.5 s and margin_start"},
           // 3 s, 0.06 s to open, a pause of 0.1 s and margins of 0.35 s
           Case{[](Setup& s) { s.rules.open = 0.06f, s.rules.pause = 0.1f, s.options.queue_samples = 56160; },
                ""},
           Case{[](Setup& s) { s.rules.open = 0.06f, s.rules.pause = 0.1f, s.options.queue_samples = 56159; },
                "queue_samples is under 3 s, open, pause and the margins"},
           // what only the other detector uses is not looked at
           Case{[](Setup& s) { s.options.pad_start = -2; }, ""},
           Case{[](Setup& s) { s.detector = VASK_STREAM_ENERGY, s.options.pad_start = -2; },
                "pad_start is not -1 to 1000000000 samples"},
           Case{[](Setup& s) { s.detector = VASK_STREAM_ENERGY, s.rules.pause = NAN; }, ""},
           Case{[](Setup& s) { s.detector = VASK_STREAM_ENERGY, s.options.audio = VASK_STREAM_LISTENING; },
                "audio 3 needs the learned detector"},
       }) {
    StreamSetup setup;
    setup.model = test::Loud();
    c.change(setup);
    const char* complaint = setup.Complaint();
    EXPECT_EQ(complaint != nullptr ? complaint : "", c.complaint);
    EXPECT_EQ(static_cast<bool>(Stream(setup)), c.complaint.empty()) << c.complaint;
  }
  EXPECT_NE(vask_stream_setup_complaint(nullptr), nullptr);
  EXPECT_EQ(vask_stream_open_setup(nullptr), nullptr);
}

TEST(StreamArguments, ProbabilitiesAreOnlyThereWithTheLearnedDetector) {
  StreamSetup setup;
  setup.model = test::Loud();
  vask_stream* stream = vask_stream_open_setup(&setup);
  vask_stream_hearing hearing = {};
  EXPECT_EQ(vask_stream_hear(stream, &hearing), VASK_STREAM_BAD_ARGUMENT);  // no size
  hearing.size = sizeof hearing;
  EXPECT_EQ(vask_stream_hear(stream, nullptr), VASK_STREAM_BAD_ARGUMENT);
  EXPECT_EQ(vask_stream_hear(nullptr, &hearing), VASK_STREAM_BAD_ARGUMENT);
  ASSERT_EQ(vask_stream_hear(stream, &hearing), 0);
  EXPECT_EQ(hearing.at, -1);
  const std::vector<int16_t> samples(3 * 320);
  ASSERT_EQ(vask_stream_write(stream, samples.data(), 3 * 320), 3 * 320);
  ASSERT_EQ(vask_stream_hear(stream, &hearing), 0);
  EXPECT_EQ(hearing.at, 2 * 320);
  vask_stream_close(stream);
  EXPECT_FALSE(Stream().Hearing().has_value());
}

TEST(StreamArguments, OtherKindsAndReasonsAreUnknown) {
  for (const int32_t number : {-1, 99}) {
    EXPECT_STREQ(vask_stream_kind_name(number), "unknown");
    EXPECT_STREQ(vask_stream_reason_name(number), "unknown");
  }
  EXPECT_STREQ(vask_stream_kind_name(VASK_STREAM_ENDED), "ended");
}

}  // namespace
}  // namespace vask
