/*
 * The endpoint detector: where an utterance begins and ends, from the energy and the voicing of each frame.
 *
 * Noise-reduced 16-bit samples go in, two frames at a time (previous and current); the samples of the
 * utterance come out of a queue. Units are those of log energy, 16 to a doubling; flags are 0 or 1.
 */
#ifndef VASK_EPD_H_
#define VASK_EPD_H_

#include <stdint.h>

#include <vask/buffers.h>
#include <vask/export.h>
#include <vask/profile.h>

VASK_BEGIN_DECLS

/* Voiced or unvoiced: features of the window, decisions, and the counts of the segment. */
typedef struct uv_prm {
  int32_t log_energy;          /* of the frame: units, Q16 */
  int32_t tonality;            /* Q16, 0 to 1.0 */
  int32_t spectral_entropy;    /* weighted spectral entropy of the bands, 0 or more: Q16 */
  int32_t yin_voicing;         /* Q16, 0 to 1.0 */
  int32_t zcr;                 /* zero crossings in the window */
  int32_t clip_crossings;      /* level changes of the centre-clipped window */
  int32_t peak_valley_ratio;   /* autocorrelation, highest to lowest: Q16 */
  int32_t high_low_ratio;      /* energy above 4 kHz to energy below: Q16 */
  int32_t amdf_min;            /* smallest mean magnitude difference: samples, Q13 */
  int32_t min_lag;             /* samples: 32, 500 Hz */
  int32_t max_lag;             /* samples: 267, 60 Hz */
  sring_buff uv_raw_hist;      /* the last 7 raw decisions */
  int16_t uv_raw;              /* 1 voiced */
  int16_t uv_smoothed;         /* the majority of the last 7 */
  int32_t voiced_frames;       /* of the segment, counted as they are queued */
  int32_t unvoiced_frames;     /* likewise */
  int32_t frames_since_voiced; /* frames since uv_smoothed was 1 */
  sring_buff uv_hist;          /* the last 70 smoothed decisions, slot for slot with sample_hist */
  int16_t uv_scratch[321];     /* the centre-clipped window */
} uv_prm;

/* Speech or not, by energy: the noise estimate, the decision, onset and hangover. */
typedef struct energy_vad_prm {
  int32_t log_energy;           /* of the frame: units, Q16 */
  int16_t strong_low_bins;      /* bins 3 ... 128 with a power above 10^9 */
  int16_t strong_low_bins_copy; /* the same number: it votes twice */
  int32_t peak_amplitude;       /* largest |sample >> sample_shift| queued since the segment began */
  int16_t silence_run;          /* frames of settled silence; stops at the largest value */
  int16_t speech_run;           /* frames of speech since then; likewise */
  int16_t onset_count;          /* frames until speech counts, from 9 down */
  int32_t vad_frames;           /* frames since the last full clear */
  int16_t hangover_count;       /* frames that are still called speech */
  int32_t noise_level;          /* units, Q16 */
  int16_t vad_flag;             /* 1 speech, after all rules */
  int16_t vad_raw;              /* 1 speech, by this frame's energy alone */
  iring_buff energy_hist;       /* the last 10 log energies: units, Q16 */
  sring_buff vad_raw_hist;      /* the last 7 raw decisions */
  int32_t vad_threshold;        /* units above the noise, whole */
} energy_vad_prm;

/* The whole detector. */
typedef struct energy_epd_prm {
  uv_prm uv;
  energy_vad_prm vad;
  int16_t speech_on;          /* 1 from the rise that began the segment */
  int16_t speech_start_flag;  /* 1 in the frame of that rise; the caller clears it */
  int16_t speech_end;         /* 1 from the fall on */
  int32_t start_frame;        /* frame_index of the start, -1 before */
  int32_t end_frame;          /* frame_index of the end, -1 before */
  int32_t transitions;        /* 0, then 1 with the start, 2 with the end */
  int32_t prev_vad;           /* vad_flag of the previous frame */
  int32_t frame_index;        /* calls since the last full clear, the first is 1 */
  int32_t reset_request;      /* 1: the segment was not speech; the caller resets */
  int32_t end_found;          /* 1: the utterance has ended; the caller clears it */
  int32_t collect;            /* 1: frames in speech are queued; stays 1 */
  int16_t backfill_pending;   /* 1 until the history has been queued */
  int32_t engine_frames;      /* frames put into the window, counted by the caller before the call */
  sring_buff sample_hist;     /* 70 frames of samples */
  i64ring_buff spectrum_hist; /* 70 power spectra of 257 bins */
  int16_t *win_samples;       /* win_len samples: previous frame, current frame */
  int32_t *win_emph;          /* win_len: the same, pre-emphasised, sample * 65536 */
  int32_t *hamming;           /* win_len, Q30 */
  int32_t *power_spec;        /* 512, of which 257 are used: power limited to 32 bits, no fixed Q */
  int32_t fft_size;           /* 512 points */
  int32_t fft_order;          /* 9 */
  int32_t num_bins;           /* 257 bins of 31.25 Hz */
  int32_t frame_shift;        /* samples a frame: 160 */
  int16_t win_len;            /* 2 * frame_shift: 320 */
  int32_t win_energy;         /* sum of (sample >> sample_shift)^2 over the window, saturated */
  int32_t uv_noise_ref;       /* noise reference of the voicing decision: units, Q16 */
  epd_profile profile;
} energy_epd_prm;

/* A separate start and end tracker, for short_EPD. */
typedef struct short_epd_prm {
  int32_t state;       /* 1 from the first rise on */
  int32_t end_flag;    /* 1 from the fall on */
  int32_t start_frame; /* -1 before */
  int32_t end_frame;   /* -1 before */
  int32_t count;       /* 0, then 1 with the start, 2 with the end */
  int32_t prev_flag;   /* the previous decision */
} short_epd_prm;

/* Separate onset and hangover counters; the caller makes the ring of 7. */
typedef struct short_vad_prm {
  int16_t silence_run;    /* frames */
  int16_t speech_run;     /* frames */
  int16_t onset_count;    /* frames */
  int16_t hangover_count; /* frames */
  sring_buff hist;        /* the last 7 decisions */
} short_vad_prm;

/* ---------------------------------------------------------------------------------------------------------
 * Set-up
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Create the detector, with the profile of deviceID and osID, or (_org) with the fixed reference profile.
 *
 * prm          out: the record; its previous contents are ignored, not released
 * frame_shift  samples a frame: 160, the most that the window tables hold
 *
 * return       1: the record is ready
 *              0: no memory, or frame_shift is not 1 to 160; an "ERROR: " line, and all is released again
 */
VASK_API int32_t init_energy_epd_prm(energy_epd_prm *prm, int32_t frame_shift);
VASK_API int32_t init_energy_epd_prm_org(energy_epd_prm *prm, int32_t frame_shift);

/**
 * Fill the profile from deviceID and osID as they are now. An unknown device counts as device 2.
 *
 * prm  out: prm->profile, nothing else
 */
VASK_API void init_energy_epd_conprm(energy_epd_prm *prm);

/**
 * Create only the record of the energy decision: all cleared, silence_run 1, rings of 10 and 7.
 *
 * vad        out: the record
 * threshold  units above the noise, whole
 *
 * return     1: the record is ready
 *            0: no memory; an "ERROR: " line, and both rings are released
 */
VASK_API int32_t init_energy_vad_prm(energy_vad_prm *vad, int32_t threshold);

/**
 * Create only the record of the voicing decision: lags 32 and 267, decisions and counts cleared, rings of 7
 * and hist_len.
 *
 * uv        out: the record
 * hist_len  decisions that are kept: 70
 *
 * return    1: the record is ready
 *           0: no memory; an "ERROR: " line, and both rings are released
 */
VASK_API int32_t init_uv_prm(uv_prm *uv, int32_t hist_len);

/* ---------------------------------------------------------------------------------------------------------
 * Clearing
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Start afresh: segment, frame count, noise estimate, decisions, histories and windows. Sizes, profile,
 * threshold, lags, the Hamming window and the features in uv are kept. energy_epd_setting does all of it, the
 * others only their own record.
 *
 * prm, vad, uv  in, out: a record made by its init function
 */
VASK_API void energy_epd_setting(energy_epd_prm *prm);
VASK_API void energy_vad_setting(energy_vad_prm *vad);
VASK_API void uv_prm_setting(uv_prm *uv);

/**
 * Forget a rejected segment: its flags, frames and decisions. frame_index, engine_frames, audio history,
 * windows and, in vad, noise_level, vad_frames and energy_hist are kept, so nothing has to be learnt again.
 *
 * prm, vad  in, out: a record made by its init function
 */
VASK_API void energy_epd_resetting(energy_epd_prm *prm);
VASK_API void energy_vad_resetting(energy_vad_prm *vad);

/**
 * Clear a record of short_EPD: frames -1, all else 0.
 *
 * rec  out: the record
 */
VASK_API void epd_prm_setting(short_epd_prm *rec);

/**
 * Clear the separate counters: silence_run 1, all else and the ring 0.
 *
 * rec  in: the ring that the caller made; out: the record
 */
VASK_API void vad_prm_setting(short_vad_prm *rec);

/* ---------------------------------------------------------------------------------------------------------
 * Settings that reach the detector
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Report a trailing silence on standard error, in ms. The hangover in force is still that of the profile.
 *
 * frames  10 ms each
 *
 * return  0, always
 */
VASK_API int32_t set_energy_hangover(int32_t frames);

/**
 * Do nothing: the threshold is that of the profile.
 *
 * return  0, always
 */
VASK_API int32_t set_vad_threshold(void);

/** Do nothing: the bands are those of 16 kHz at any sampling rate. */
VASK_API void set_EPD_control_Narrorband(void);

/* ---------------------------------------------------------------------------------------------------------
 * One frame: the whole, then its steps in order. Voicing is in voicing.h.
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Run the detector on one frame.
 *
 * prm                 in: win_samples and win_emph (previous frame, current frame), engine_frames counted
 *                     out: power_spec, energies, decisions, histories, and the three results:
 *                     speech_start_flag, reset_request, end_found
 * out_samples         in, out: queue of at least 88 frames of 160 samples; gets the utterance, 16 bits
 * out_spectra         in, out: queue of at least 88 spectra of 257 powers; gets one for each frame queued
 * cc1, ss1, cc3, ss3  the slots of fft_tables for 512 points, Q30
 *
 * The utterance is queued from 35 frames before its start (or from the beginning of the history): at most 45
 * frames when speech rises, then one frame a call, three frames late. The call that finds the end queues
 * nothing and decides: if the segment is 10 frames or longer and at least 5 % of it voiced, it is an
 * utterance, and end_found is set. Otherwise reset_request is set, and the caller calls energy_epd_resetting
 * and empties both queues.
 * The caller moves both windows down by a frame after each call. Nothing checks that the queues have room:
 * drain the samples often, and empty the spectra with them.
 */
VASK_API void epd_based_on_energy_feature(energy_epd_prm *prm, sin_buff *out_samples, in64_buff *out_spectra,
                                          int32_t **cc1, int32_t **ss1, int32_t **cc3, int32_t **ss3);

/**
 * Sum the squares of n samples.
 *
 * samples  n samples, 16 bits
 * n        samples
 *
 * return   32 bits; 2147483647 if the sum overflows, 0 without samples
 */
VASK_API int32_t square_energy(const int16_t *samples, int32_t n);

/**
 * Sum the energy of speech in a power spectrum: bins 7 ... 199, 219 Hz to 6.2 kHz; in car noise bins
 * 20 ... 199, from 625 Hz on.
 *
 * power   257 bins of 31.25 Hz, of which 200 are read
 * n       any value
 *
 * return  sum of power / 8; 2147483647 if it overflows
 */
VASK_API int32_t noise_robust_band_energy_16kHz(const int32_t *power, int32_t n);
VASK_API int32_t carnoise_robust_band_energy_16kHz(const int32_t *power);

/**
 * Average the power of the lower band, bins 9 ... 115, or of the upper band, 116 ... n - 1.
 *
 * power   n bins of 31.25 Hz
 * n       bins: 257
 *
 * return  mean of power / 256; 2147483647 if the sum overflows, 0 for a band without bins
 */
VASK_API int32_t lower_band_energy(const int32_t *power, int32_t n);
VASK_API int32_t upper_band_energy(const int32_t *power, int32_t n);

/**
 * Divide the upper band's mean by the lower band's.
 *
 * power   n bins of 31.25 Hz
 * n       bins: 257
 *
 * return  Q16, low 32 bits of the quotient; 1.0 if the lower mean is 0, 2147483647 if negative
 */
VASK_API int32_t upper_lower_band_energy_ratio(const int32_t *power, int32_t n);

/**
 * Turn an energy into units of log energy.
 *
 * x             energy; a negative one has overflowed and counts as the largest
 * ignored1 ...  any value
 *
 * return        units, Q16, 0 to 352.0: 16 log2(x / 512 + 1), the quotient rounded down to a whole number
 */
VASK_API int32_t quantized_energy(int32_t x, int32_t ignored1, int32_t ignored2, int32_t ignored3);

/**
 * Decide by energy whether the frame is speech, and learn the noise.
 *
 * vad     in: log_energy, peak_amplitude; out: noise_level, decision, histories
 * prm     in: the record around it: profile, speech_on, voiced and unvoiced frames
 *
 * return  the majority of the last seven decisions, also in vad_flag
 *         1: speech
 *         0: silence
 *
 * The first ten frames are silence. After them a frame is speech if it is above the noise by more than
 * vad_threshold units, and by 10 to 20 more in loud speech; the noise is limited to 150 ... 300 units.
 */
VASK_API int32_t energy_based_VAD_with_UV(energy_vad_prm *vad, energy_epd_prm *prm);

/**
 * Delay the rise of speech by 9 frames and its fall by the hangover; cut segments that are long and unvoiced.
 *
 * flag  the decision of energy_based_VAD_with_UV: 1 speech, else silence
 * prm   in, out: the counters of prm->vad; out: prm->vad.vad_flag
 */
VASK_API void voice_activity_detection(int32_t flag, energy_epd_prm *prm);

/**
 * Turn the rise and fall of vad_flag into the start and end of the segment.
 *
 * prm    in: vad.vad_flag, profile.hangover_frames; in, out: speech_on, speech_end, transitions, prev_vad
 *        out: start_frame, 12 frames before the rise; end_frame, hangover_frames + 3 before the fall
 * frame  index of this frame
 */
VASK_API void energy_EPD(energy_epd_prm *prm, int32_t frame);

/**
 * Do the same on a separate record; the end is 43 frames before the fall.
 *
 * rec    in, out: the record, cleared by epd_prm_setting
 * flag   the decision of this frame, 0 or 1
 * frame  index of this frame
 */
VASK_API void short_EPD(short_epd_prm *rec, int32_t flag, int32_t frame);

/* ---------------------------------------------------------------------------------------------------------
 * Release
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Release what the init function allocated, and null the pointers. close_energy_epd_prm releases everything.
 *
 * prm, vad, uv  in, out: a record made by its init function, even if that failed
 */
VASK_API void close_energy_epd_prm(energy_epd_prm *prm);
VASK_API void close_energy_vad_prm(energy_vad_prm *vad);
VASK_API void close_uv_prm(uv_prm *uv);

VASK_END_DECLS

#endif /* VASK_EPD_H_ */
