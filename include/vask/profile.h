/*
 * What the energy detector is tuned by.
 */
#ifndef VASK_PROFILE_H_
#define VASK_PROFILE_H_

#include <stdint.h>

/* What is tuned for a device. */
typedef struct epd_profile {
  int32_t hangover_frames;     /* speech continues for this many frames after its last one */
  int32_t voiced_check_frames; /* a segment of this length needs voiced frames to go on */
  int32_t long_speech_frames;  /* beyond this length a long unvoiced run ends the segment */
  int32_t max_unvoiced_run;    /* frames, for that rule */
  int32_t vad_threshold;       /* units above the noise, whole */
  int32_t sample_shift;        /* bits that samples are shifted right before energies and magnitudes */
  int32_t energy_shift;        /* bits that the energy is shifted right before its logarithm */
  int32_t h2l_ratio_max;       /* high_low_ratio of a voiced frame is below: Q16 */
  int32_t yin_min;             /* vote: yin_voicing above: Q16 */
  int32_t amdf_low;            /* vote: amdf_min above: samples, Q13 */
  int32_t amdf_high;           /* and below */
  int32_t pv_low;              /* vote: peak_valley_ratio above: Q16 */
  int32_t pv_high;             /* and below */
  int32_t tonality_min;        /* vote: tonality above: Q16 */
  int32_t entropy_max;         /* vote: spectral_entropy below: Q16 */
  int32_t uv_vote_min;         /* share of ten votes that makes a frame voiced, Q30 */
  int32_t uv_energy_offset;    /* units above the noise reference, whole */
} epd_profile;

#endif /* VASK_PROFILE_H_ */
