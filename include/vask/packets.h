/*
 * The queue of the front end as IMA ADPCM packets, a quarter of the size, in modes 1 and 2.
 *
 * A bare packet is n bytes of codes. A headed packet has 8 characters before them: "D" in a packet of an
 * utterance and "E" in its last one, a space, and n as a decimal number in six columns, as in "D    160". A
 * stream is one headed packet after another.
 *
 * All packets of an utterance form one stream of enc_state: begin each utterance with android_reset_frontend
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
 * Find the number of bytes that vask_take_packet would write now.
 *
 * n       bytes of a packet, two samples each
 * last    0: the utterance continues, only a whole packet counts; else: it is over, and silence fills it up
 *
 * return  n: there is a packet
 *         0: there is none, or n is not 1 to VASK_LARGEST_PACKET
 */
VASK_API int32_t vask_packet_size(int32_t n, int32_t last);

/**
 * Take up to 2 n samples from the queue, as a bare packet.
 *
 * n, last  as for vask_packet_size
 * out      out: n bytes
 * size     bytes that out holds
 *
 * return   n: the packet is written
 *          0: there is none, n is not 1 to VASK_LARGEST_PACKET, or out is too small; nothing is taken
 */
VASK_API int32_t vask_take_packet(int32_t n, uint8_t *out, int32_t size, int32_t last);

/**
 * Find the number of bytes that vask_take_packet_stream would write now.
 *
 * n       bytes of a packet without its header
 * last    0: the utterance continues, and whole packets count; else: it is over, and a packet "E" closes it
 *
 * return  k (n + 8): there are k packets
 *         0: there is none, or n is not 1 to VASK_LARGEST_PACKET
 */
VASK_API int32_t vask_packet_stream_size(int32_t n, int32_t last);

/**
 * Take what is queued as headed packets: all "D", except that the last one is "E" if the utterance is over.
 * That one is filled up with silence, and is written even if nothing is left.
 *
 * n, last  as for vask_packet_stream_size
 * out      out: as many bytes as that function returns
 * size     bytes that out holds
 *
 * return   k (n + 8): k packets are written
 *          0: there is none, n is not 1 to VASK_LARGEST_PACKET, or out is too small; nothing is taken
 */
VASK_API int32_t vask_take_packet_stream(int32_t n, uint8_t *out, int32_t size, int32_t last);

/**
 * Write the header of a packet that is made in another way.
 *
 * type    'D' or 'E'
 * n       bytes of codes that follow it
 * out     out: VASK_PACKET_HEADER characters
 *
 * return  VASK_PACKET_HEADER: the header is written
 *         0: n is not 1 to VASK_LARGEST_PACKET, or type is not 'D' or 'E'; nothing is written
 */
VASK_API int32_t vask_write_packet_header(char type, int32_t n, uint8_t *out);

/**
 * Read the header of a packet.
 *
 * bytes   in: the stream, where a packet begins
 * size    bytes there
 * type    out: 'D' or 'E'; null: not wanted
 *
 * return  1 to VASK_LARGEST_PACKET: n, the number of code bytes after the header
 *         0: there is no header; nothing is written
 */
VASK_API int32_t vask_read_packet_header(const uint8_t *bytes, int32_t size, char *type);

VASK_END_DECLS

#endif /* VASK_PACKETS_H_ */
