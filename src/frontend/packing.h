// The queue of the front end as IMA ADPCM packets, bare or each with a header.
#pragma once

#include <vask/adpcm.h>

#include <cstdint>
#include <span>

#include "frontend/framing.h"

namespace vask {

// Bytes to ask of TakePacket for a packet of n: n, or 0 for no packet.
int32_t PacketSize(const frontend& f, int32_t n, bool last);

// Fill `out` with codes, two samples per byte; of silence once the queue is empty.
void TakePacket(frontend& f, adpcm_state& encoder, std::span<uint8_t> out);

// The same for a stream of packets with headers. `out` must have the length that StreamSize returns.
int32_t StreamSize(const frontend& f, int32_t n, bool last);
void TakeStream(frontend& f, adpcm_state& encoder, int32_t n, bool last, std::span<uint8_t> out);

// Whether n fits the six columns of a header; bare packets have the same limits.
bool IsPacketSize(int32_t n);

// Write VASK_PACKET_HEADER characters.
void WritePacketHeader(char type, int32_t n, uint8_t* out);

// Returns n and sets the type of the packet that begins here; 0 if none does.
int32_t ReadPacketHeader(std::span<const uint8_t> bytes, char& type);

}  // namespace vask
