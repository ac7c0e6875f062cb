// vaskdetect: what passes, what is told, when, and with which times.
#include <gtest/gtest.h>
#include <vask/stream.hpp>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <functional>

#include "rig.h"
#include "support/folder.h"
#include "support/model.h"

namespace vask::gst_test {
namespace {

using Names = std::vector<std::string>;

uint64_t TimeOf(const Structure& structure, const char* name) {
  guint64 time = 0;
  EXPECT_TRUE(gst_structure_get_uint64(structure.get(), name, &time)) << name;
  return time;
}

int64_t PositionOf(const Structure& structure, const char* name) {
  gint64 position = 0;
  EXPECT_TRUE(gst_structure_get_int64(structure.get(), name, &position)) << name;
  return position;
}

std::span<const int16_t> Seconds(const std::vector<int16_t>& samples, double from, double to) {
  return std::span(samples).subspan(static_cast<size_t>(from * 16000),
                                    static_cast<size_t>((to - from) * 16000));
}

TEST(Detect, PassesEveryFormUntouchedAndHearsTheSame) {
  const std::vector<int16_t> room = Room();
  Names expected;
  for (const Form& form : {Form{}, Form{16000, 2, false}, Form{16000, 1, true}, Form{16000, 8, true}}) {
    Rig rig("vaskdetect", form);
    ASSERT_EQ(rig.Push(room, 777), GST_FLOW_OK) << form.Caps();
    const Names told = Told(rig.Messages());
    if (expected.empty()) expected = told;
    EXPECT_EQ(told.size(), 10U) << form.Caps();
    EXPECT_EQ(told, expected) << form.Caps();
    EXPECT_EQ(Told(rig.events()), told) << form.Caps();
    // What leaves is what came: mono 16-bit samples are compared, of the others the length.
    const size_t frame = static_cast<size_t>(form.channels) * (form.is_float ? 4 : 2);
    ASSERT_EQ(rig.bytes().size(), room.size() * frame) << form.Caps();
    EXPECT_TRUE(frame != 2 || std::memcmp(rig.bytes().data(), room.data(), rig.bytes().size()) == 0);
  }
}

TEST(Detect, TellsAnEventBeforeTheBufferInWhichItWasDecided) {
  const std::vector<int16_t> room = Room();
  Rig rig("vaskdetect");
  rig.Push(room, 1600);
  const auto start = std::find(rig.order().begin(), rig.order().end(), "started");
  ASSERT_NE(start, rig.order().end());
  const auto buffers = std::count(rig.order().begin(), start, "buffer");
  const int64_t heard = PositionOf(rig.events()[0], "heard");
  EXPECT_LE(buffers * 1600, heard);
  EXPECT_GE((buffers + 1) * 1600, heard);
}

TEST(Detect, SaysTimesOfTheMediaAndOfThePipeline) {
  Rig rig("vaskdetect");
  // The media from its 50th second on, which plays 7 s after the pipeline's start.
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  segment.start = 100 * GST_SECOND;
  segment.time = 50 * GST_SECOND;
  segment.base = 7 * GST_SECOND;
  rig.PushEvent(gst_event_new_segment(&segment));
  rig.JumpTo(101 * GST_SECOND);
  rig.Push(Room());
  const std::vector<Structure> messages = rig.Messages();
  ASSERT_EQ(messages.size(), 10U);
  for (const char* name : {"start", "span-start", "heard"}) {
    const auto at = static_cast<uint64_t>(PositionOf(messages[1], name)) * (GST_SECOND / 16000);
    EXPECT_EQ(TimeOf(messages[1], (std::string(name) + "-time").c_str()), 51 * GST_SECOND + at) << name;
    EXPECT_EQ(TimeOf(messages[1], (std::string(name) + "-running-time").c_str()), 8 * GST_SECOND + at)
        << name;
  }
  EXPECT_EQ(TimeOf(messages[0], "end-time"), GST_CLOCK_TIME_NONE);
  EXPECT_GT(TimeOf(messages[1], "end-time"), TimeOf(messages[1], "start-time"));
}

// The first utterance of the recording lasts from 1.0 s to 3.7 s. Each break comes at 2 s, where it is open.
TEST(Detect, EndsWhatIsOpenWhereTheInputBreaks) {
  const std::vector<int16_t> room = Room();
  struct Case {
    const char* name;
    std::function<void(Rig&)> breaks;
    const char* before;  // the end has left before this, if it leaves at all
  };
  const auto new_segment = [](Rig& rig) {
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    segment.base = 30 * GST_SECOND;
    rig.PushEvent(gst_event_new_segment(&segment));
  };
  const auto flush = [](Rig& rig) {
    rig.PushEvent(gst_event_new_flush_start());
    rig.PushEvent(gst_event_new_flush_stop(TRUE));
  };
  const auto push = [&](Rig& rig) { rig.Push(Seconds(room, 0, 0.1)); };
  for (const Case& c : {
           Case{"end of stream", [](Rig& rig) { rig.PushEvent(gst_event_new_eos()); }, "eos"},
           Case{"flush", flush, nullptr},
           Case{"another segment", new_segment, "segment"},
           Case{"another form",
                [](Rig& rig) {
                  rig.SetForm({8000, 2, true});
                },
                "caps"},
           Case{"a jump", [&](Rig& rig) { rig.JumpTo(9 * GST_SECOND), push(rig); }, "buffer"},
           Case{"a jump back", [&](Rig& rig) { rig.JumpTo(GST_SECOND), push(rig); }, "buffer"},
           Case{"a mark without a time",
                [&](Rig& rig) {
                  rig.JumpTo(GST_CLOCK_TIME_NONE);
                  rig.MarkDiscont();
                  push(rig);
                },
                "buffer"},
           Case{"a long gap",
                [](Rig& rig) { rig.PushEvent(gst_event_new_gap(2 * GST_SECOND, 3 * GST_SECOND)); }, "gap"},
           Case{"stop", [](Rig& rig) { gst_element_set_state(rig.element(), GST_STATE_NULL); }, nullptr},
       }) {
    Rig rig("vaskdetect");
    rig.Push(Seconds(room, 0, 2));
    const size_t left = rig.order().size();
    ASSERT_EQ(Told(rig.Messages()), (Names{"started 1"})) << c.name;
    c.breaks(rig);
    EXPECT_EQ(Told(rig.Messages()), (Names{"ended 1 input-end"})) << c.name;
    if (c.before == nullptr) continue;
    const auto begin = rig.order().begin() + static_cast<std::ptrdiff_t>(left);
    const auto end = std::find(begin, rig.order().end(), "ended");
    EXPECT_NE(end, rig.order().end()) << c.name;
    EXPECT_LT(end, std::find(begin, rig.order().end(), c.before)) << c.name;
  }
}

TEST(Detect, BeginsAnewAfterABreakAndNumbersOn) {
  const std::vector<int16_t> room = Room();
  Rig rig("vaskdetect");
  rig.Push(Seconds(room, 0, 2));
  rig.JumpTo(100 * GST_SECOND);
  rig.Push(Seconds(room, 0, 5));
  const std::vector<Structure> messages = rig.Messages();
  EXPECT_EQ(Told(messages), (Names{"started 1", "ended 1 input-end", "started 2", "ended 2 silence"}));
  EXPECT_EQ(PositionOf(messages[2], "start"), PositionOf(messages[0], "start"));
  EXPECT_EQ(TimeOf(messages[2], "start-time"), 100 * GST_SECOND + TimeOf(messages[0], "start-time"));
}

TEST(Detect, GoesOnWhereTheInputDoes) {
  const std::vector<int16_t> room = Room();
  struct Case {
    const char* name;
    std::function<void(Rig&)> change;
    uint64_t shift = 0;   // ns that later times are later
    double from = 2;      // s: where the recording goes on
    uint64_t within = 0;  // ns that they may be off
  };
  for (const Case& c :
       {Case{"the same segment again",
             [](Rig& rig) {
               GstSegment segment;
               gst_segment_init(&segment, GST_FORMAT_TIME);
               segment.start = segment.time = segment.base = GST_SECOND;
               rig.PushEvent(gst_event_new_segment(&segment));
             }},
        Case{"a mark", [](Rig& rig) { rig.MarkDiscont(); }},
        Case{"a drift", [](Rig& rig) { rig.JumpTo(2 * GST_SECOND + 30 * GST_MSECOND); }, 30 * GST_MSECOND},
        Case{"a loss of 0.1 s",
             [](Rig& rig) {
               rig.JumpTo(2100 * GST_MSECOND);
               rig.MarkDiscont();
             },
             0, 2.1, 60 * GST_MSECOND}}) {
    Rig rig("vaskdetect");
    rig.Push(Seconds(room, 0, 2));
    c.change(rig);
    rig.Push(Seconds(room, c.from, 5));
    const std::vector<Structure> messages = rig.Messages();
    ASSERT_EQ(Told(messages), (Names{"started 1", "ended 1 silence"})) << c.name;
    const uint64_t expected = 3720 * GST_MSECOND + c.shift, end = TimeOf(messages[1], "end-time");
    EXPECT_LE(std::max(expected, end) - std::min(expected, end), c.within) << c.name;
  }
}

TEST(Detect, HearsShortGapsAsSilence) {
  const std::vector<int16_t> room = Room();
  Rig rig("vaskdetect");
  rig.Push(Seconds(room, 0, 2));
  for (int i = 0; i < 100; ++i)
    rig.PushEvent(gst_event_new_gap(2 * GST_SECOND + i * 20 * GST_MSECOND, 20 * GST_MSECOND));
  EXPECT_EQ(Told(rig.Messages()), (Names{"started 1", "ended 1 silence"}));
}

TEST(Detect, HearsNothingThatPlaysBackwards) {
  GstSegment segment;
  gst_segment_init(&segment, GST_FORMAT_TIME);
  segment.rate = -1;
  segment.stop = 20 * GST_SECOND;
  for (const char* element : {"vaskdetect", "vaskdenoise"}) {
    const std::vector<int16_t> room = Room();
    Rig rig(element);
    rig.PushEvent(gst_event_new_segment(&segment));
    rig.Push(room);
    EXPECT_TRUE(rig.Messages().empty()) << element;
    ASSERT_EQ(rig.bytes().size(), room.size() * 2) << element;
    EXPECT_EQ(std::memcmp(rig.bytes().data(), room.data(), rig.bytes().size()), 0) << element;
  }
}

TEST(Detect, ChangesThePauseWhileItRuns) {
  const std::vector<int16_t> room = Room();
  for (const char* detector : {"learned", "energy"}) {
    Rig rig(std::string("vaskdetect detector=") + detector);
    rig.Push(Seconds(room, 0, 2));
    g_object_set(rig.element(), "pause", 5.0, nullptr);
    rig.Push(Seconds(room, 2, 8));
    EXPECT_EQ(Told(rig.Messages()), (Names{"started 1"})) << detector;
    g_object_set(rig.element(), "pause", 0.3, nullptr);
    rig.Push(Seconds(room, 8, 9));
    EXPECT_EQ(Told(rig.Messages()), (Names{"ended 1 silence"})) << detector;
  }
}

TEST(Detect, SaysWhatIsWrongWithItsProperties) {
  struct Case {
    const char* properties;
    const char* says;
  };
  for (const Case& c :
       {Case{"pause=20", "pause is not 0.02 to 10 s"},
        Case{"max-samples=100", "max_samples is not 0 or 24000 to 1000000000"},
        Case{"detector=energy profile=profile,sample_shift=99", "sample_shift is not 0 to 15"},
        Case{"model=/nowhere", "/nowhere: it cannot be read; training/make.sh makes models"}}) {
    Rig rig(std::string("vaskdetect ") + c.properties);
    EXPECT_NE(rig.Push(Room(), 320), GST_FLOW_OK) << c.properties;
    rig.Messages();
    ASSERT_FALSE(rig.errors().empty()) << c.properties;
    EXPECT_EQ(rig.errors()[0], c.says);
  }
}

TEST(Detect, HearsByTheModelOfAFile) {
  const test::Folder folder;
  const std::string path = folder / "model";
  std::ofstream(path, std::ios::binary)
      << test::BytesOf(test::MakeModel(16, 16, 16, test::Kind::kTrained, 1));
  const auto probability = [](const std::string& model) {
    Rig rig("vaskdetect meter=1000000000" + model);
    const std::vector<int16_t> room = Room();
    EXPECT_EQ(rig.Push(std::span(room).first(32000)), GST_FLOW_OK);
    float found = -1;
    for (const Structure& message : rig.Messages()) {
      gst_structure_get(message.get(), "speech-probability", G_TYPE_FLOAT, &found, nullptr);
    }
    return found;
  };
  EXPECT_NE(probability(" model=" + path), probability(""));
}

TEST(Detect, TellsOnlyWhatItIsAskedFor) {
  const std::vector<int16_t> room = Room();
  Rig silent("vaskdetect post-messages=false send-events=false");
  silent.Push(room);
  EXPECT_TRUE(silent.Messages().empty());
  EXPECT_TRUE(silent.events().empty());

  // 19.98 s, a message each 0.1 s, in whatever pieces; in the first utterance it is speech.
  Rig meter("vaskdetect post-messages=false meter=100000000");
  meter.Push(room, 3000);
  const std::vector<Structure> messages = meter.Messages();
  ASSERT_EQ(messages.size(), 199U);
  gboolean is_open = FALSE;
  gst_structure_get_boolean(messages[24].get(), "open", &is_open);
  EXPECT_TRUE(is_open);
  EXPECT_EQ(TimeOf(messages[24], "heard-time"), 2500 * GST_MSECOND);
  gst_structure_get_boolean(messages[44].get(), "open", &is_open);
  EXPECT_FALSE(is_open);
}

TEST(Detect, HasThePropertiesOfAPreset) {
  GstElement* element = gst_parse_launch("vaskdetect preset=robust min-voiced-frames=3", nullptr);
  int samples = 0, frames = 0;
  GstStructure* profile = nullptr;
  g_object_get(element, "min-samples", &samples, "min-voiced-frames", &frames, "profile", &profile, nullptr);
  int threshold = 0;
  gst_structure_get_int(profile, "vad_threshold", &threshold);
  EXPECT_EQ(samples, 3200);
  EXPECT_EQ(frames, 3);
  EXPECT_EQ(threshold, 28);
  gst_structure_free(profile);
  gst_object_unref(element);
}

}  // namespace
}  // namespace vask::gst_test
