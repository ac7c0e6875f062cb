/*
 * IMA ADPCM: 16-bit PCM packed to four bits a sample, and back.
 *
 * A stream is two codes to a byte, the first sample in the high nibble. A code is a sign (bit 3) and a
 * magnitude (bits 2 to 0). The state goes on from call to call, so that a stream may be cut anywhere between
 * two bytes; it is read by one decoder in the same order, from the state in which the encoder began.
 */
#ifndef VASK_ADPCM_H_
#define VASK_ADPCM_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

typedef struct adpcm_state {
  int16_t valprev; /* prediction: the value of the last sample as the decoder hears it */
  uint8_t index;   /* of the step size, 0 to 88; more is taken as 88 */
} adpcm_state;

/* The states of short_to_adpcm and of adpcm_to_short, zero at the start. */
VASK_API extern adpcm_state enc_state;
VASK_API extern adpcm_state dec_state;

/**
 * Encode samples.
 *
 * in   in: n samples
 * out  out: (n + 1) / 2 bytes; the last low nibble is 0 if n is odd
 * n    samples; with 0 or less nothing is written and the state stays
 * st   in, out: the state
 *
 * The prediction after the last sample.
 * Scale:  16-bit samples in steps of 7 to 32767.
 * Source: IMA Digital Audio Focus and Technical Working Groups, "Recommended Practices for Enhancing Digital
 *         Audio Compatibility in Multimedia Systems", revision 3.00, 1992.
 */
VASK_API int32_t adpcm_coder(const int16_t *in, uint8_t *out, int32_t n, adpcm_state *st);

/**
 * Decode samples.
 *
 * in   in: (n + 1) / 2 bytes
 * out  out: n samples
 * n    samples; with 0 or less nothing is written and the state stays
 * st   in, out: the state
 *
 * The step size after the last sample.
 */
VASK_API int32_t adpcm_decoder(const uint8_t *in, int16_t *out, int32_t n, adpcm_state *st);

/**
 * adpcm_coder with enc_state.
 */
VASK_API int32_t short_to_adpcm(const int16_t *in, uint8_t *out, int32_t n);

/**
 * adpcm_decoder with dec_state.
 *
 * in   in: the codes
 * out  out: m / 2 samples
 * m    size of out in bytes
 */
VASK_API int32_t adpcm_to_short(const uint8_t *in, int16_t *out, int32_t m);

/**
 * Set both states to zero, for a new stream.
 */
VASK_API void refersh_adpcm_state(void);

VASK_END_DECLS

#endif /* VASK_ADPCM_H_ */
