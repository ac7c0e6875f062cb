// Messages go to the standard streams, byte for byte, until an application takes them.
#include <gtest/gtest.h>
#include <vask/vask.h>

#include <string>
#include <thread>
#include <vector>

#include "dsp/message.h"
#include "support/capture.h"

namespace vask::test {
namespace {

struct Taken {
  std::string out, err;
};

void Take(void* context, int32_t stream, const char* text) {
  auto& taken = *static_cast<Taken*>(context);
  (stream == VASK_MESSAGE_OUTPUT ? taken.out : taken.err) += text;
}

void Provoke() {
  Vask_epd_set_trailing_silence(3);
  Vask_EPD_Set_Samplign_Rate(16000);
  Vask_epd_save_pcm_dir(1, nullptr);
}

TEST(Messages, GoWhereTheApplicationSends) {
  const std::string out =
      "WARNING: too small for trailing control :  ( 3 ), Fixed to 30...\n\n"
      "ERROR: PCM log directory is missing\n";
  const std::string err =
      "  Vask EPD trailing silence (1) = 300 (ms)\n"
      "  Vask EPD Sampling Rate = 16000, Cutoff = 8000\n";
  Taken taken;
  struct Case {
    vask_message_sink sink;
    bool prints, takes;
  };
  for (const Case& c : {Case{nullptr, true, false}, Case{Take, false, true},
                        Case{vask_drop_message, false, false}, Case{nullptr, true, false}}) {
    taken = {};
    const Said said = Hear([&] {
      vask_set_message_sink(c.sink, &taken);
      Provoke();
    });
    EXPECT_EQ(said.out, c.prints ? out : "");
    EXPECT_EQ(said.err, c.prints ? err : "");
    EXPECT_EQ(taken.out, c.takes ? out : "");
    EXPECT_EQ(taken.err, c.takes ? err : "");
  }
}

TEST(Messages, AreCutAtTheLongestOnlyForASink) {
  const std::string text(3000, 'x');
  Taken taken;
  vask_set_message_sink(Take, &taken);
  Say(Message::kFailure, "%s", text.c_str());
  vask_set_message_sink(nullptr, nullptr);
  EXPECT_EQ(taken.out, text.substr(0, VASK_LONGEST_MESSAGE));
  EXPECT_EQ(Hear([&] { Say(Message::kFailure, "%s", text.c_str()); }).out, text);
}

// A sink and its context belong together, however often another thread changes both.
TEST(Messages, ReachTheSinkThatTheirContextBelongsTo) {
  struct Own {
    vask_message_sink sink;
    int32_t heard, strange;
  };
  static Own own[2];
  own[0] = {
      [](void* context, int32_t, const char*) { ++(context == &own[0] ? own[0].heard : own[0].strange); }, 0,
      0};
  own[1] = {
      [](void* context, int32_t, const char*) { ++(context == &own[1] ? own[1].heard : own[1].strange); }, 0,
      0};
  vask_set_message_sink(own[0].sink, &own[0]);
  std::thread changer([] {
    for (int k = 0; k < 200000; ++k) vask_set_message_sink(own[k % 2].sink, &own[k % 2]);
  });
  for (int k = 0; k < 200000; ++k) Say(Message::kInformation, "%d", k);
  changer.join();
  vask_set_message_sink(nullptr, nullptr);
  EXPECT_EQ(own[0].heard + own[1].heard, 200000);
  EXPECT_EQ(own[0].strange + own[1].strange, 0);
}

}  // namespace
}  // namespace vask::test
