// Packets from the front end's queue: their sizes, headers, order and codes, and what is refused.
#include <gtest/gtest.h>
#include <vask/adpcm.h>
#include <vask/frontend.h>
#include <vask/packets.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

class Packets : public testing::Test {
 protected:
  // Leaves the same `queued` samples of reduced noise in the queue each time, and fresh codec states.
  void Queue(int32_t queued) {
    ASSERT_EQ(android_init_frontend(".", 1), 1);
    android_reset_frontend();
    refersh_adpcm_state();
    std::mt19937 random(21);
    std::vector<int16_t> in(static_cast<size_t>(queued) + 800), surplus(in.size());
    for (int16_t& x : in) x = static_cast<int16_t>(random() >> 16) / 4;
    ASSERT_EQ(android_process_frame(static_cast<int32_t>(in.size()), in.data()), 0);
    android_get_frames(android_get_available_frames() - queued, surplus.data());
    ASSERT_EQ(android_get_available_frames(), queued);
  }

  // `bytes` bytes of codes for the queue of Queue() followed by silence, from fresh states.
  Bytes Codes(int32_t queued, int32_t bytes) {
    Queue(queued);
    std::vector<int16_t> samples(static_cast<size_t>(2 * bytes));
    android_get_frames(2 * bytes, samples.data());
    Bytes codes(static_cast<size_t>(bytes));
    adpcm_state state = {};
    adpcm_coder(samples.data(), codes.data(), 2 * bytes, &state);
    return codes;
  }

  void TearDown() override { android_stop_frontend(); }
};

TEST_F(Packets, StreamsAreWholePacketsUntilTheUtteranceIsOver) {
  struct Case {
    int32_t queued, n, last, packets, left;
  };
  for (const Case& c : {Case{1000, 160, 0, 3, 40}, Case{1000, 160, 1, 4, 0}, Case{960, 160, 1, 3, 0},
                        Case{960, 160, 0, 3, 0}, Case{0, 160, 1, 1, 0}, Case{0, 160, 0, 0, 0},
                        Case{1000, 501, 0, 0, 1000}, Case{1000, 501, -1, 1, 0}, Case{1000, 1, 0, 500, 0},
                        Case{999, 1, 1, 500, 0}, Case{1000, 999999, 1, 1, 0}, Case{9, 300, 7, 1, 0}}) {
    const std::string where = std::to_string(c.queued) + " queued, n " + std::to_string(c.n);
    const Bytes codes = Codes(c.queued, c.packets * c.n);
    Queue(c.queued);
    const int32_t size = c.packets * (c.n + 8);
    EXPECT_EQ(vask_packet_stream_size(c.n, c.last), size) << where;
    Bytes out(static_cast<size_t>(size) + 1, 0xee);
    ASSERT_EQ(vask_take_packet_stream(c.n, out.data(), size, c.last), size) << where;
    EXPECT_EQ(out.back(), 0xee) << where;
    EXPECT_EQ(android_get_available_frames(), c.left) << where;
    for (int32_t k = 0; k < c.packets; ++k) {
      const auto at = out.begin() + k * (c.n + 8);
      const std::string digits = std::to_string(c.n);
      const std::string header =
          (c.last != 0 && k == c.packets - 1 ? "E " : "D ") + std::string(6 - digits.size(), ' ') + digits;
      ASSERT_EQ(std::string(at, at + 8), header) << where << ", packet " << k;
      ASSERT_TRUE(std::equal(at + 8, at + 8 + c.n, codes.begin() + k * c.n)) << where << ", packet " << k;
    }
  }
}

TEST_F(Packets, BarePacketsContinueOneStream) {
  const Bytes codes = Codes(1000, 600);
  Queue(1000);
  Bytes out;
  for (const int32_t last : {0, 0, 0, 0, 0, 1}) {
    Bytes packet(100);
    const int32_t size = vask_packet_size(100, last);
    ASSERT_EQ(size, 100);
    ASSERT_EQ(vask_take_packet(100, packet.data(), 100, last), 100);
    out.insert(out.end(), packet.begin(), packet.end());
  }
  EXPECT_EQ(out, codes);  // the last 100 bytes are silence, coded from the state before
  EXPECT_EQ(android_get_available_frames(), 0);
}

TEST_F(Packets, TakesNothingWhenItRefuses) {
  Queue(150);
  Bytes out(400, 0xee);
  const auto expect_refused = [&](int32_t n, uint8_t* to, int32_t size, int32_t last) {
    EXPECT_EQ(vask_take_packet(n, to, size, last), 0) << n << ", size " << size;
    EXPECT_EQ(vask_take_packet_stream(n, to, size, last), 0) << n << ", size " << size;
    EXPECT_EQ(android_get_available_frames(), 150);
    EXPECT_EQ(enc_state.index, 0);
    EXPECT_EQ(out, Bytes(400, 0xee));
  };
  for (const int32_t n : {0, -1, INT32_MIN, 1000000, 1 << 30, INT32_MAX}) {
    EXPECT_EQ(vask_packet_size(n, 1), 0) << n;
    EXPECT_EQ(vask_packet_stream_size(n, 1), 0) << n;
    expect_refused(n, out.data(), INT32_MAX, 1);
  }
  expect_refused(100, out.data(), 400, 0);  // not enough is queued
  expect_refused(100, out.data(), 99, 1);   // no room
  expect_refused(100, out.data(), -1, 1);
  expect_refused(100, nullptr, 400, 1);
  EXPECT_EQ(vask_take_packet_stream(50, out.data(), 115, 1), 0);  // one byte too few for two packets
  EXPECT_EQ(vask_take_packet_stream(50, out.data(), 116, 1), 116);
}

TEST_F(Packets, HeadersAreReadOnlyAsTheyAreWritten) {
  struct Case {
    std::string text;
    int32_t n;
  };
  for (const Case& c : {Case{"D    160", 160}, Case{"E 999999x", 999999}, Case{"D      1", 1},
                        Case{"D      0", 0}, Case{"D 000160", 0}, Case{"D   1 60", 0}, Case{"D 160   ", 0},
                        Case{"D   -160", 0}, Case{"X    160", 0}, Case{"d    160", 0}, Case{"D\t   160", 0},
                        Case{"D1   160", 0}, Case{"D    16", 0}, Case{"", 0}}) {
    char type = '?';
    const auto* bytes = reinterpret_cast<const uint8_t*>(c.text.data());
    EXPECT_EQ(vask_read_packet_header(bytes, static_cast<int32_t>(c.text.size()), &type), c.n) << c.text;
    EXPECT_EQ(type, c.n > 0 ? c.text[0] : '?') << c.text;
    EXPECT_EQ(vask_read_packet_header(bytes, static_cast<int32_t>(c.text.size()), nullptr), c.n) << c.text;
    if (c.n == 0) continue;
    uint8_t written[8];
    EXPECT_EQ(vask_write_packet_header(c.text[0], c.n, written), 8);
    EXPECT_EQ(std::string(written, written + 8), c.text.substr(0, 8));
  }
  struct Refused {
    char type;
    int32_t n;
  };
  uint8_t untouched[8] = {9};
  for (const Refused& r : {Refused{'D', 0}, {'D', -1}, {'D', 1000000}, {'X', 160}})
    EXPECT_EQ(vask_write_packet_header(r.type, r.n, untouched), 0) << r.type << r.n;
  EXPECT_EQ(vask_write_packet_header('D', 160, nullptr), 0);
  EXPECT_EQ(untouched[0], 9);
  EXPECT_EQ(vask_read_packet_header(nullptr, 8, nullptr), 0);
  EXPECT_EQ(vask_read_packet_header(reinterpret_cast<const uint8_t*>("D    160"), -1, nullptr), 0);
}

}  // namespace
