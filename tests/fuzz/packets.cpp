// Packets and ADPCM: any bytes as codes and as headers, and any order of the calls that take packets.
#include <vask/adpcm.h>
#include <vask/frontend.h>
#include <vask/packets.h>

#include <algorithm>

#include "fuzz/fuzz.h"

namespace vask::fuzz {
namespace {

int32_t Size(const Bytes& bytes) { return static_cast<int32_t>(bytes.size()); }

// Codes decode to the same samples in one piece and in two; and what the encoder makes of those, the decoder
// takes back to the predictions that the encoder had.
void Codes(Input& input) {
  adpcm_state start = {input.ConsumeIntegral<int16_t>(), input.ConsumeIntegral<uint8_t>()};
  const Bytes codes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 400));
  const auto cut = input.ConsumeIntegralInRange<int32_t>(0, Size(codes));
  Samples whole(2 * codes.size()), pieces(whole.size());
  adpcm_state one = start, two = start;
  adpcm_decoder(codes.data(), whole.data(), 2 * Size(codes), &one);
  adpcm_decoder(codes.data(), pieces.data(), 2 * cut, &two);
  adpcm_decoder(codes.data() + cut, pieces.data() + 2 * cut, 2 * (Size(codes) - cut), &two);
  VASK_REQUIRE(whole == pieces && one.valprev == two.valprev && one.index == two.index);

  Bytes again(codes.size());
  adpcm_state encoder = start, decoder = start;
  const int32_t last = adpcm_coder(whole.data(), again.data(), 2 * Size(codes), &encoder);
  adpcm_decoder(again.data(), pieces.data(), 2 * Size(codes), &decoder);
  VASK_REQUIRE(encoder.valprev == decoder.valprev && encoder.index == decoder.index);
  VASK_REQUIRE(whole.empty() || last == pieces.back());
}

// Bytes are a header only if they are what the writer writes for the type and the number that are read.
void Headers(Input& input) {
  const Bytes bytes = input.ConsumeBytes<uint8_t>(input.ConsumeIntegralInRange<size_t>(0, 12));
  char type = '?';
  const int32_t n = vask_read_packet_header(bytes.data(), Size(bytes), &type);
  VASK_REQUIRE(n >= 0 && n <= VASK_LARGEST_PACKET && (n == 0) == (type == '?'));
  Bytes written(VASK_PACKET_HEADER);
  if (n > 0) {
    VASK_REQUIRE(vask_write_packet_header(type, n, written.data()) == VASK_PACKET_HEADER);
    VASK_REQUIRE(std::equal(written.begin(), written.end(), bytes.begin()));
  }
  VASK_REQUIRE(vask_read_packet_header(bytes.data(), -1, nullptr) == 0);
  type = input.ConsumeIntegral<char>();
  const auto wanted = Edgy<int32_t>(input, -1, VASK_LARGEST_PACKET + 1);
  const bool good = (type == 'D' || type == 'E') && wanted > 0 && wanted <= VASK_LARGEST_PACKET;
  VASK_REQUIRE((vask_write_packet_header(type, wanted, written.data()) != 0) == good);
  VASK_REQUIRE(!good || vask_read_packet_header(written.data(), VASK_PACKET_HEADER, nullptr) == wanted);
}

// One packet, or all as a stream whose headers lead to its end; each takes as much of the queue as it says.
void Take(Input& input) {
  const bool stream = input.ConsumeBool();
  const int32_t n = Edgy<int32_t>(input, 0, 3000), last = input.ConsumeIntegralInRange<int32_t>(-1, 1);
  const int32_t size = stream ? vask_packet_stream_size(n, last) : vask_packet_size(n, last);
  const int32_t queued = android_get_available_frames();
  Bytes out(static_cast<size_t>(Edgy<int32_t>(input, std::max(size - 1, 0), size)));
  const auto take = stream ? vask_take_packet_stream : vask_take_packet;
  const int32_t taken = take(n, out.data(), Size(out), last);
  VASK_REQUIRE(taken == (Size(out) == size ? size : 0) || (out.empty() && taken == 0));
  const int32_t header = stream ? VASK_PACKET_HEADER : 0;
  const int32_t packets = taken / std::max(n + header, 1);
  VASK_REQUIRE(android_get_available_frames() == std::max(queued - 2 * n * packets, 0));
  for (int32_t at = 0; stream && at < taken; at += n + header) {
    char type = '?';
    VASK_REQUIRE(vask_read_packet_header(out.data() + at, taken - at, &type) == n);
    VASK_REQUIRE(type == (last != 0 && at + n + header == taken ? 'E' : 'D'));
  }
}

void Queue(Input& input) {
  android_init_frontend(".", input.ConsumeIntegralInRange<int32_t>(1, 2));
  android_reset_frontend();
  for (int calls = 0; calls < 12 && input.remaining_bytes() > 0; ++calls) {
    const size_t n = input.ConsumeIntegralInRange<size_t>(0, 2000);
    const int32_t top = input.ConsumeIntegralInRange<int32_t>(1, 32767);
    Samples samples(n);
    for (size_t i = 0; i < n; ++i)
      samples[i] = static_cast<int16_t>((i * i * 7919) % static_cast<size_t>(top));
    android_process_frame(static_cast<int32_t>(n), samples.data());
    Take(input);
  }
  android_stop_frontend();
}

void Run(Input& input) {
  Codes(input);
  Headers(input);
  Queue(input);
}

}  // namespace
}  // namespace vask::fuzz

VASK_FUZZ(vask::fuzz::Run)
