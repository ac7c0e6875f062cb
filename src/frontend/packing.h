// The queue of the front end as IMA ADPCM packets, bare or each with a header.
#pragma once

#include <vask/adpcm.h>

#include <cstdint>
#include <span>

#include "frontend/framing.h"

namespace vask {

// Bytes that TakePacket has to give for a packet of n: n, or 0 for none.
int32_t PacketSize(const frontend& f, int32_t n, bool last);

// Fill `out` with the codes of two samples a byte, of silence where the queue runs out.
void TakePacket(frontend& f, adpcm_state& encoder, std::span<uint8_t> out);

// The same for a stream of headed packets. `out` is as long as StreamSize says.
int32_t StreamSize(const frontend& f, int32_t n, bool last);
void TakeStream(frontend& f, adpcm_state& encoder, int32_t n, bool last, std::span<uint8_t> out);

// Whether n fits the six columns of a header; bare packets keep to the same sizes.
bool IsPacketSize(int32_t n);

// VASK_PACKET_HEADER characters.
void WritePacketHeader(char type, int32_t n, uint8_t* out);

// n and type of the packet that begins here; 0 if none does.
int32_t ReadPacketHeader(std::span<const uint8_t> bytes, char& type);

}  // namespace vask
