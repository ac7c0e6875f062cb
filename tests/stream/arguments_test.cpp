// Which options and arguments a stream refuses, and in which words.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vask/stream.hpp>

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

}  // namespace
}  // namespace vask
