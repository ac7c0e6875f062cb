/*
 * IMA ADPCM: 16-bit PCM packed to four bits a sample, and back.
 *
 * A stream is two codes to a byte, the first sample in the high nibble. A code is a sign (bit 3) and a
 * magnitude (bits 2 to 0). The state carries over from call to call, so a stream may be cut between any two
 * bytes. One decoder must read it, in the same order, starting from the state in which the encoder began.
 */
#ifndef VASK_ADPCM_H_
#define VASK_ADPCM_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

typedef struct adpcm_state {
  int16_t valprev; /* prediction: the last sample as the decoder reconstructs it */
  uint8_t index;   /* of the step size, 0 to 88; a larger value counts as 88 */
} adpcm_state;

/* The states of short_to_adpcm and of adpcm_to_short, initially zero. */
VASK_API extern adpcm_state enc_state;
VASK_API extern adpcm_state dec_state;

/**
 * Encode samples.
 *
 * in      in: n samples
 * out     out: (n + 1) / 2 bytes; the last low nibble is 0 if n is odd
 * n       samples; with 0 or less nothing is written and the state is unchanged
 * st      in, out: the state
 *
 * return  the prediction after the last sample
 *
 * Scale:  16-bit samples in steps of 7 to 32767.
 * Source: IMA Digital Audio Focus and Technical Working Groups, "Recommended Practices for Enhancing Digital
 *         Audio Compatibility in Multimedia Systems", revision 3.00, 1992.
 */
VASK_API int32_t adpcm_coder(const int16_t *in, uint8_t *out, int32_t n, adpcm_state *st);

/**
 * Decode samples.
 *
 * in      in: (n + 1) / 2 bytes
 * out     out: n samples
 * n       samples; with 0 or less nothing is written and the state is unchanged
 * st      in, out: the state
 *
 * return  the step size after the last sample
 */
VASK_API int32_t adpcm_decoder(const uint8_t *in, int16_t *out, int32_t n, adpcm_state *st);

/**
 * Encode samples, with the state in enc_state.
 *
 * in, out, n  as for adpcm_coder
 *
 * return      as adpcm_coder
 */
VASK_API int32_t short_to_adpcm(const int16_t *in, uint8_t *out, int32_t n);

/**
 * Decode samples, with the state in dec_state.
 *
 * in      in: the codes
 * out     out: m / 2 samples
 * m       size of out in bytes
 *
 * return  as adpcm_decoder
 */
VASK_API int32_t adpcm_to_short(const uint8_t *in, int16_t *out, int32_t m);

/**
 * Set both states to zero, for a new stream.
 */
VASK_API void refersh_adpcm_state(void);

VASK_END_DECLS

#endif /* VASK_ADPCM_H_ */
