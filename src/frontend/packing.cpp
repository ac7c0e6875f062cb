// Packets: int16 samples from the front end's queue in, IMA ADPCM bytes out, with text headers if wanted.
#include "frontend/packing.h"

#include <vask/packets.h>

#include <algorithm>

#include "codec/ima_adpcm.h"

namespace vask {
namespace {

constexpr int32_t kBlock = 512;  // samples encoded at a time; even, so that no byte is split

}  // namespace

bool IsPacketSize(int32_t n) { return n >= 1 && n <= VASK_LARGEST_PACKET; }

void WritePacketHeader(char type, int32_t n, uint8_t* out) {
  std::fill_n(out, VASK_PACKET_HEADER, static_cast<uint8_t>(' '));
  out[0] = static_cast<uint8_t>(type);
  for (uint8_t* digit = out + VASK_PACKET_HEADER - 1; n > 0; n /= 10) {
    *digit-- = static_cast<uint8_t>('0' + n % 10);
  }
}

int32_t PacketSize(const frontend& f, int32_t n, bool last) {
  if (!IsPacketSize(n)) return 0;
  return last || AvailableEntries(f) >= 2 * n ? n : 0;
}

void TakePacket(frontend& f, adpcm_state& encoder, std::span<uint8_t> out) {
  while (!out.empty()) {
    int16_t samples[kBlock] = {};
    const size_t bytes = std::min<size_t>(out.size(), kBlock / 2);
    TakeFrames(f, {samples, 2 * bytes});
    EncodeAdpcm(encoder, {samples, 2 * bytes}, out.data());
    out = out.subspan(bytes);
  }
}

int32_t StreamSize(const frontend& f, int32_t n, bool last) {
  if (!IsPacketSize(n)) return 0;
  const int32_t queued = AvailableEntries(f);
  int32_t packets = queued / (2 * n);
  if (last) packets = std::max(packets + (queued % (2 * n) != 0 ? 1 : 0), 1);
  // Below 2^31: the codes are at most half as many as the queue's samples plus one packet, and the headers at
  // most eight times the codes.
  return packets * (n + VASK_PACKET_HEADER);
}

void TakeStream(frontend& f, adpcm_state& encoder, int32_t n, bool last, std::span<uint8_t> out) {
  const auto packet = static_cast<size_t>(n) + VASK_PACKET_HEADER;
  while (out.size() >= packet) {
    WritePacketHeader(last && out.size() == packet ? 'E' : 'D', n, out.data());
    TakePacket(f, encoder, out.subspan(VASK_PACKET_HEADER, static_cast<size_t>(n)));
    out = out.subspan(packet);
  }
}

int32_t ReadPacketHeader(std::span<const uint8_t> bytes, char& type) {
  if (bytes.size() < VASK_PACKET_HEADER || (bytes[0] != 'D' && bytes[0] != 'E')) return 0;
  int32_t n = 0;
  for (size_t i = 2; i < VASK_PACKET_HEADER; ++i) {
    if (bytes[i] >= '0' && bytes[i] <= '9') n = 10 * n + (bytes[i] - '0');
  }
  // A number is written in one way only: text that differs from it is not a header.
  uint8_t written[VASK_PACKET_HEADER];
  WritePacketHeader(static_cast<char>(bytes[0]), n, written);
  if (n == 0 || !std::equal(written, written + VASK_PACKET_HEADER, bytes.begin())) return 0;
  type = static_cast<char>(bytes[0]);
  return n;
}

}  // namespace vask

extern "C" {

int32_t vask_write_packet_header(char type, int32_t n, uint8_t* out) {
  if (out == nullptr || !vask::IsPacketSize(n) || (type != 'D' && type != 'E')) return 0;
  vask::WritePacketHeader(type, n, out);
  return VASK_PACKET_HEADER;
}

int32_t vask_read_packet_header(const uint8_t* bytes, int32_t size, char* type) {
  char ignored = 0;
  if (bytes == nullptr || size < 0) return 0;
  return vask::ReadPacketHeader({bytes, static_cast<size_t>(size)}, type != nullptr ? *type : ignored);
}

}  // extern "C"
