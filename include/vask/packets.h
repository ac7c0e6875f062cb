/*
 * The queue of the front end as IMA ADPCM packets, a quarter of the size, in modes 1 and 2.
 *
 * A bare packet is n bytes of codes. A headed packet has 8 characters before them: "D" in a packet of an
 * utterance and "E" in its last one, a blank, and n as a decimal number in six columns, as in "D    160". A
 * stream is one headed packet after the other.
 *
 * All packets of an utterance are one stream of enc_state: begin each utterance with android_reset_frontend
 * and refersh_adpcm_state.
 */
#ifndef VASK_PACKETS_H_
#define VASK_PACKETS_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

#define VASK_PACKET_HEADER 8       /* characters */
#define VASK_LARGEST_PACKET 999999 /* bytes: six digits */

/**
 * The number of bytes that vask_take_packet would give now.
 *
 * n     bytes of a packet, two samples each
 * last  0: the utterance goes on, and only a whole packet counts; else: it is over, and silence fills it up
 *
 * n; 0 if there is no packet, or n is not 1 to VASK_LARGEST_PACKET.
 */
VASK_API int32_t vask_packet_size(int32_t n, int32_t last);

/**
 * Take up to 2 n samples off the queue, as a bare packet.
 *
 * n, last  as for vask_packet_size
 * out      out: n bytes
 * size     bytes that out holds
 *
 * n; 0 with nothing taken if there is no packet, n is not 1 to VASK_LARGEST_PACKET, or out is too small.
 */
VASK_API int32_t vask_take_packet(int32_t n, uint8_t *out, int32_t size, int32_t last);

/**
 * The number of bytes that vask_take_packet_stream would give now.
 *
 * n     bytes of a packet without its header
 * last  0: the utterance goes on, and whole packets count; else: it is over, and a packet "E" closes it
 *
 * k (n + 8) for k packets; 0 if there is none, or n is not 1 to VASK_LARGEST_PACKET.
 */
VASK_API int32_t vask_packet_stream_size(int32_t n, int32_t last);

/**
 * Take what is queued as headed packets: all "D", but "E" the last one when the utterance is over. That one
 * is filled up with silence, and comes even if nothing is left.
 *
 * n, last  as for vask_packet_stream_size
 * out      out: as many bytes as that gives
 * size     bytes that out holds
 *
 * The number of bytes; 0 with nothing taken if there is no packet, n is not 1 to VASK_LARGEST_PACKET, or out
 * is too small.
 */
VASK_API int32_t vask_take_packet_stream(int32_t n, uint8_t *out, int32_t size, int32_t last);

/**
 * Write the header of a packet that is made otherwise.
 *
 * type  'D' or 'E'
 * n     bytes of codes that follow it
 * out   out: VASK_PACKET_HEADER characters
 *
 * VASK_PACKET_HEADER; 0 with nothing written if n is not 1 to VASK_LARGEST_PACKET or the type is another.
 */
VASK_API int32_t vask_write_packet_header(char type, int32_t n, uint8_t *out);

/**
 * Read the header of a packet.
 *
 * bytes  in: the stream, where a packet begins
 * size   bytes there
 * type   out: 'D' or 'E'; null: not wanted
 *
 * n, the number of code bytes behind the header; 0 if there is no header, and then nothing is written.
 */
VASK_API int32_t vask_read_packet_header(const uint8_t *bytes, int32_t size, char *type);

VASK_END_DECLS

#endif /* VASK_PACKETS_H_ */
