// vaskdenoise: as many samples out as in, in the same places, and what they are.
#include <gtest/gtest.h>
#include <vask/stream.hpp>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <numbers>

#include "rig.h"

namespace vask::gst_test {
namespace {

std::vector<int16_t> Integers(const std::vector<uint8_t>& bytes) {
  std::vector<int16_t> samples(bytes.size() / 2);
  std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
  return samples;
}

std::vector<int16_t> Filtered(std::span<const int16_t> in, int32_t detector, int32_t audio) {
  StreamSetup setup;
  setup.detector = detector;
  setup.options.mode = VASK_STREAM_CONTINUOUS;
  setup.options.audio = audio;
  Stream stream(setup);
  stream.Write(in);
  stream.Flush();
  std::vector<int16_t> out(in.size());
  EXPECT_EQ(stream.Read(out).size(), in.size());
  return out;
}

// Each buffer begins where the one before ended; the last one ends with the input.
void ExpectTimes(const Rig& rig, GstClockTime begin, GstClockTime end) {
  ASSERT_FALSE(rig.times().empty());
  EXPECT_EQ(rig.times().front(), begin);
  for (size_t i = 1; i + 1 < rig.times().size(); i += 2)
    ASSERT_EQ(rig.times()[i], rig.times()[i + 1]) << i / 2;
  EXPECT_EQ(rig.times().back(), end);
}

TEST(Denoise, GivesWhatAStreamGivesWithTheTimesOfTheInput) {
  const std::vector<int16_t> room = Room();
  for (const bool listening : {true, false}) {
    Rig rig(listening ? "vaskdenoise" : "vaskdenoise mode=recognition");
    rig.JumpTo(3 * GST_SECOND);
    rig.Push(room, 777);
    rig.PushEvent(gst_event_new_eos());
    EXPECT_EQ(Integers(rig.bytes()), listening ? Filtered(room, VASK_STREAM_LEARNED, VASK_STREAM_LISTENING)
                                               : Filtered(room, VASK_STREAM_ENERGY, VASK_STREAM_CLEAN));
    EXPECT_EQ(rig.order().back(), "eos");
    ExpectTimes(rig, 3 * GST_SECOND, 3 * GST_SECOND + room.size() * (GST_SECOND / 16000));
  }
}

TEST(Denoise, FiltersEachChannelOfEachForm) {
  const std::vector<int16_t> room = Room();
  const std::vector<int16_t> expected = Filtered(room, VASK_STREAM_LEARNED, VASK_STREAM_LISTENING);
  for (const Form& form : {Form{16000, 3, false}, Form{16000, 2, true}}) {
    Rig rig("vaskdenoise", form);
    rig.Push(room);
    rig.PushEvent(gst_event_new_eos());
    std::vector<int16_t> samples = Integers(rig.bytes());
    if (form.is_float) {
      std::vector<float> floats(rig.bytes().size() / sizeof(float));
      std::memcpy(floats.data(), rig.bytes().data(), rig.bytes().size());
      samples.resize(floats.size());
      std::transform(floats.begin(), floats.end(), samples.begin(),
                     [](float value) { return static_cast<int16_t>(std::lround(value * 32768)); });
    }
    const auto channels = static_cast<size_t>(form.channels);
    ASSERT_EQ(samples.size(), room.size() * channels) << form.Caps();
    for (size_t i = 0; i < samples.size(); ++i)
      ASSERT_EQ(samples[i], expected[i / channels]) << form.Caps() << i;
  }
}

// What is behind never exceeds what the query says, and reaches it: the delay of 10 or 20 ms, a frame that is
// not yet whole, at 48 kHz also both resamplers (5 ms) and up to 48 samples between two looks at the gain.
TEST(Denoise, SaysItsLatency) {
  struct Case {
    const char* element;
    int32_t rate;
    uint64_t most;  // ms
  };
  for (const Case& c : {Case{"vaskdenoise", 16000, 20}, Case{"vaskdenoise mode=recognition", 16000, 30},
                        Case{"vaskdenoise", 48000, 27}}) {
    Rig rig(c.element, {c.rate, 1, false});
    const std::vector<int16_t> room = Room(c.rate);
    size_t behind = 0;
    for (size_t i = 0; i < static_cast<size_t>(c.rate) / 4; ++i) {
      behind = std::max(behind, i + 1 - rig.bytes().size() / 2);
      rig.Push(std::span(room).subspan(i, 1));
    }
    const GstClockTime latency = gst_harness_query_latency(rig.harness());
    EXPECT_EQ(latency, gst_util_uint64_scale_int_round(behind, GST_SECOND, c.rate)) << c.element;
    EXPECT_LE(latency, c.most * GST_MSECOND) << c.element;
  }
}

TEST(Denoise, LosesNothingWhereTheInputBreaks) {
  const std::vector<int16_t> room = Room();
  Rig rig("vaskdenoise");
  rig.Push(std::span(room).first(10001));
  rig.JumpTo(60 * GST_SECOND);
  rig.Push(std::span(room).first(10001));
  rig.SetForm({16000, 2, false});
  rig.Push(std::span(room).first(10001));
  rig.PushEvent(gst_event_new_eos());
  EXPECT_EQ(rig.bytes().size(), 10001U * (2 + 2 + 4));
  std::vector<int16_t> first = Integers(rig.bytes());
  EXPECT_TRUE(std::equal(first.begin(), first.begin() + 10001, first.begin() + 10001)) << "both begin anew";
  EXPECT_EQ(rig.times()[rig.times().size() / 2 - 1] / GST_SECOND, 60U);
}

TEST(Denoise, FillsShortGapsAndPassesLongOnes) {
  Rig rig("vaskdenoise");
  rig.Push(std::vector<int16_t>(8000));
  rig.PushEvent(gst_event_new_gap(500 * GST_MSECOND, 250 * GST_MSECOND));
  rig.JumpTo(800 * GST_MSECOND);  // and 50 ms without an event
  rig.Push(std::vector<int16_t>(3200));
  EXPECT_EQ(std::count(rig.order().begin(), rig.order().end(), "gap"), 0);
  rig.PushEvent(gst_event_new_gap(GST_SECOND, 3 * GST_SECOND));
  EXPECT_EQ(rig.bytes().size(), 2U * 16000);
  ExpectTimes(rig, 0, GST_SECOND);
  EXPECT_EQ(rig.order().back(), "gap");
}

TEST(Denoise, DropsWhatItHoldsAtAFlush) {
  Rig rig("vaskdenoise");
  rig.Push(std::vector<int16_t>(8100, 1000), 8100);
  const size_t before = rig.bytes().size();
  rig.PushEvent(gst_event_new_flush_start());
  rig.PushEvent(gst_event_new_flush_stop(TRUE));
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  rig.PushEvent(gst_event_new_segment(&segment));
  rig.JumpTo(0);
  rig.Push(std::vector<int16_t>(8000));
  rig.PushEvent(gst_event_new_eos());
  EXPECT_EQ(rig.bytes().size(), before + 2 * 8000);
  EXPECT_TRUE(std::all_of(rig.bytes().begin() + static_cast<std::ptrdiff_t>(before), rig.bytes().end(),
                          [](uint8_t byte) { return byte == 0; }));
}

// A tone of 12 kHz at 48 kHz, heard through a filter that cuts nothing: with the highs it comes out as it
// was.
TEST(Denoise, KeepsWhatLiesAboveItsBands) {
  std::vector<int16_t> tone(48000);
  for (size_t i = 0; i < tone.size(); ++i) {
    tone[i] =
        static_cast<int16_t>(std::lround(8000 * std::sin(std::numbers::pi * static_cast<double>(i) / 2)));
  }
  for (const bool keeps : {true, false}) {
    Rig rig(std::string("vaskdenoise limit=0 keep-highs=") + (keeps ? "true" : "false"), {48000, 1, false});
    rig.Push(tone, 1000);
    rig.PushEvent(gst_event_new_eos());
    const std::vector<int16_t> out = Integers(rig.bytes());
    ASSERT_EQ(out.size(), tone.size());
    double power = 0, difference = 0;
    for (size_t i = 4800; i < out.size() - 4800; ++i) {
      power += static_cast<double>(out[i]) * out[i];
      difference += std::pow(out[i] - tone[i], 2);
    }
    const double whole = 8000.0 * 8000 / 2 * static_cast<double>(out.size() - 9600);
    EXPECT_LT(keeps ? difference : power, whole * 1e-4);
  }
}

}  // namespace
}  // namespace vask::gst_test
