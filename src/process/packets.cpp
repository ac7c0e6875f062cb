// Packets from the queue of the process.
#include <vask/adpcm.h>
#include <vask/packets.h>

#include "frontend/packing.h"
#include "process/process.h"

namespace process = vask::process;

extern "C" {

int32_t vask_packet_size(int32_t n, int32_t last) {
  return vask::PacketSize(process::front_end, n, last != 0);
}

int32_t vask_take_packet(int32_t n, uint8_t* out, int32_t size, int32_t last) {
  const int32_t bytes = vask::PacketSize(process::front_end, n, last != 0);
  if (out == nullptr || bytes == 0 || size < bytes) return 0;
  vask::TakePacket(process::front_end, enc_state, {out, static_cast<size_t>(bytes)});
  return bytes;
}

int32_t vask_packet_stream_size(int32_t n, int32_t last) {
  return vask::StreamSize(process::front_end, n, last != 0);
}

int32_t vask_take_packet_stream(int32_t n, uint8_t* out, int32_t size, int32_t last) {
  const int32_t bytes = vask::StreamSize(process::front_end, n, last != 0);
  if (out == nullptr || bytes == 0 || size < bytes) return 0;
  vask::TakeStream(process::front_end, enc_state, n, last != 0, {out, static_cast<size_t>(bytes)});
  return bytes;
}

}  // extern "C"
