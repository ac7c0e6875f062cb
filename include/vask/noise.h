/*
 * Noise reduction at 16 kHz: a mel-warped Wiener filter with its own speech detector.
 *
 * A frame goes in as 160 samples at the end of the input history and comes out, filtered, two frames later.
 * Spectra and band amplitudes are int64 without a fixed Q: they follow the scale of the input.
 */
#ifndef VASK_NOISE_H_
#define VASK_NOISE_H_

#include <stdint.h>

#include <vask/buffers.h>
#include <vask/export.h>

VASK_BEGIN_DECLS

/* One triangle of the mel filter bank, and the link to the next. The chain owns weights and records. */
typedef struct mel_band {
  int32_t start;         /* the first bin, 62.5 Hz each */
  int32_t count;         /* bins */
  int32_t *weights;      /* count values, Q30, 1.0 in sum */
  struct mel_band *next; /* null after the last band */
} mel_band;

/* What the speech detector knows of each band: amplitudes, no fixed Q. */
typedef struct wiener_spectrum {
  int64_t *sig_band;      /* num_bands: mean of the last two frames, 1 or more */
  int64_t *noise_band;    /* num_bands: the noise, 1 or more */
  int64_t *clean_band;    /* num_bands: the previous frame without its noise */
  int64_rbuf *ring_short; /* num_bands rings of the last 2 amplitudes */
  int64_rbuf *ring_long;  /* num_bands rings of the last 20 amplitudes */
  int32_t num_bands;
} wiener_spectrum;

/* What the speech detector found in the current frame. */
typedef struct wiener_gsap_data {
  int64_t *lratio;   /* per band: likelihood ratio of speech, Q16, up to 2.0 */
  uint16_t vad_flag; /* 1 speech, 0 noise */
  int32_t gsap;      /* global speech-absence probability, Q16 */
} wiener_gsap_data;

/* The speech detector's decision and its memory. */
typedef struct wiener_vad {
  int32_t frame_count; /* frames since the last setting */
  uint16_t vad_flag;   /* 1 speech or hangover, 0 noise */
  int16_t hangover;    /* frames that are still called speech */
  uint16_t speech_run; /* speech frames in a row */
} wiener_vad;

/* The whole stage. */
typedef struct wiener_filt {
  int16_t frame_len;    /* 160 samples */
  int16_t fft_order;    /* 9 */
  int16_t fft_size;     /* 512 points */
  int16_t num_bins;     /* 257 bins of 31.25 Hz */
  int16_t win_offset;   /* 120: where in sig_hist the analysis window begins */
  int16_t win_len;      /* 400 samples */
  int16_t filt_len;     /* 24: points of the impulse-response window */
  int16_t num_bands;    /* 35 mel bands */
  int16_t num_psd_bins; /* 129 smoothed bins of 62.5 Hz */
  int32_t frame_count;  /* frames entered since the last setting; the filter runs from 3 on */
  int64_t *fft_buf;     /* 512: sample * window * 2^10, then the spectrum, then its power */
  int32_t *hann_win;    /* 400, Q30 */
  int32_t *filt_win;    /* 24, Q30 */
  int16_t *sig_hist;    /* 640 samples, the newest frame last */
  int32_t sig_hist_len; /* 640 samples */
  int16_t *out_frame;   /* 160 samples: the filtered frame */
  int64_t *psd_prev;    /* 129: smoothed power of the previous frame */
  int64_t *psd_mean;    /* 129: mean of the last two smoothed powers; after the gains, its root */
  int64_t *psd_cur;     /* 129: smoothed power of this frame; after the gains, its root */
  int64_t *noise;       /* 129: noise amplitude, 1 or more */
  int64_t *den_prev;    /* 129: amplitude of the previous frame without its noise */
  int16_t *frame_now;   /* sig_hist + 160: the frame that is filtered */
  int16_t *frame_past;  /* sig_hist: the samples before it */
  int32_t *gain;        /* 129: gain per bin, then per band, then the impulse response, Q30 */
  int32_t *impulse;     /* 37: the windowed impulse response about tap 12, Q30 */
  int32_t **idct_basis; /* 35 rows of 35, Q30 */
  int32_t *ear_weight;  /* 257, of which 129 are used: the ear's weight per smoothed bin, Q30 */
  int64_t *mel_amp;     /* 129: amplitude per smoothed bin, then per band in the first 35 */
  wiener_spectrum spectrum;
  wiener_gsap_data gsap_data;
  wiener_vad vad;
  mel_band mel_fb;      /* the first of 35 bands */
  int64_t *mel_scratch; /* 129: scratch of the band sums */
} wiener_filt;

/*
 * The mel filter bank as numbers: for each of 35 bands start, count and count weights in Q30. The centres are
 * evenly spaced in mel from 0 to 8 kHz, both included, each on the nearest bin.
 */
extern VASK_API const int32_t mel_filt_N; /* 293 */
extern VASK_API int32_t mel_filt_data[293];

/* ---------------------------------------------------------------------------------------------------------
 * Set-up
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Create the whole stage for 16 kHz: storage, windows, ear weights, filter bank and IDCT basis.
 *
 * wf      out: the record; its previous contents are ignored, not released
 *
 * return  1: the stage is ready
 *         0: no memory; an "ERROR: " line from each part that failed, except from the filter bank, and all is
 *            released again
 */
VASK_API int32_t init_wiener_filt(wiener_filt *wf);

/**
 * Create the record's own part: sizes, buffers, windows and ear weights, without the four member records.
 *
 * wf      out: the fields frame_len to mel_amp, and mel_scratch
 * rate    Hz: 16000
 *
 * return  1: the part is ready
 *         0: rate is not 16000, and nothing is set; or no memory, and close_wiener_filt_param releases what
 *            was allocated; an "ERROR: " line says which
 */
VASK_API int32_t init_wiener_filt_param(wiener_filt *wf, int32_t rate);

/**
 * Create the band statistics (spectrum) or the detector's findings (g) for n bands, all zero; gsap is 1.0.
 *
 * spec, g  out: the record
 * n        bands: 35
 *
 * return   1: the record is ready
 *          0: no memory; an "ERROR: " line, and the close function releases what was allocated
 */
VASK_API int32_t init_wiener_spectrum(wiener_spectrum *spec, int32_t n);
VASK_API int32_t init_wiener_gsap_data(wiener_gsap_data *g, int32_t n);

/**
 * Build the chain of mel bands: from the built-in table (InitMelFB is InitMelFBFromSource), or from the text
 * file mel_filt.txt in Vask_epd_base_dir, which holds the numbers of mel_filt_data, one a line.
 *
 * first   out: the first band; the others are linked to it
 * n       bands, 2 to 35
 *
 * return  1: the chain is built
 *         0: no memory; InitMelFBFromFile: also if the file cannot be read, and an "ERROR: " line says why
 */
VASK_API int32_t InitMelFB(mel_band *first, int32_t n);
VASK_API int32_t InitMelFBFromSource(mel_band *first, int32_t n);
VASK_API int32_t InitMelFBFromFile(mel_band *first, int32_t n);

/**
 * Fill the basis of the mel-warped inverse cosine transform.
 *
 * rows  out: n rows of n values, Q30: row = tap t, column = band b,
 *       cos(2 pi t f(b) / 256) * (f(b+1) - f(b-1)) / 256, f = centroid of the band in bins of 62.5 Hz
 * n     up to 35
 *
 * Source: ETSI ES 202 050, mel IDCT.
 */
VASK_API void InitMelIDCTbasis(int32_t **rows, int32_t n);

/**
 * Compute the square root of the amplitude response of outer and middle ear, in double precision.
 *
 * out   out: n values for n frequencies spread evenly over 0 ... rate / 2; 1.0 = 0 dB
 * n     frequencies, 2 or more
 * rate  Hz
 *
 * Source: ITU-R BS.1387, outer and middle ear; the value at 0 Hz is fixed at 0.0423.
 */
VASK_API void OuterAndMiddleEarModel(double *out, int32_t n, int32_t rate);

/* ---------------------------------------------------------------------------------------------------------
 * Clearing
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Start afresh: history, spectra, noise and decisions become zero, gsap 1.0; windows, basis and ear weights
 * are kept. wiener_filt_setting does all of it, the others only their own record.
 *
 * wf, spec, g, v  in, out: a record made by its init function
 * n               bands of the record: 35
 *
 * wiener_gsap_data_setting leaves lratio unchanged: every frame computes it again.
 */
VASK_API void wiener_filt_setting(wiener_filt *wf);
VASK_API void wiener_filt_param_setting(wiener_filt *wf);
VASK_API void wiener_spectrum_setting(wiener_spectrum *spec, int32_t n);
VASK_API void wiener_gsap_data_setting(wiener_gsap_data *g, int32_t n);
VASK_API void wiener_vad_setting(wiener_vad *v);

/**
 * Restart the speech detector while the signal continues: decision, hangover and run are cleared, the band
 * noise becomes the mean of the last 20 frames. History, spectra and the filter's noise are kept.
 *
 * wf, spec, v  in, out: a record made by its init function
 * n            bands of the record: 35
 *
 * The mean is over all 20 slots as they are (each / 20, rounded toward zero), so it is low in the first 20
 * frames.
 */
VASK_API void wiener_filt_resetting(wiener_filt *wf);
VASK_API void wiener_spectrum_resetting(wiener_spectrum *spec, int32_t n);
VASK_API void wiener_vad_resetting(wiener_vad *v);

/* ---------------------------------------------------------------------------------------------------------
 * One frame: the whole, then its steps in order
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Filter one frame.
 *
 * wf                  in: sig_hist with the newest frame in samples 480 ... 639, frame_count 3 or more, 3 at
 *                     the first call after a setting
 *                     out: out_frame, 160 samples, the frame of two calls earlier; noise, spectra, decision
 * mel_fb              the chain of 35 bands, wf->mel_fb
 * cc1, ss1, cc3, ss3  the slots of fft_tables for 512 points, Q30
 *
 * The caller moves sig_hist down by 160 samples afterwards and increments frame_count before the next call.
 * Scale:  samples, 16 bits; the output keeps the low 16 bits of its sums and does not saturate.
 * Source: ETSI ES 202 050, the first stage, here over 8 kHz, with the ear's weights and its own detector.
 */
VASK_API void WienerFiltering(wiener_filt *wf, mel_band *mel_fb, int32_t **cc1, int32_t **ss1, int32_t **cc3,
                              int32_t **ss3);

/**
 * Window the samples and pad them with zeros.
 *
 * sig   nwin samples, 16 bits
 * win   nwin values, Q30
 * out   out: nfft values, sample * window * 2^10
 * nwin  samples: 400
 * nfft  points: 512
 */
VASK_API void windowing(const int16_t *sig, const int32_t *win, int64_t *out, int32_t nwin, int32_t nfft);

/**
 * Smooth a power spectrum over pairs of bins.
 *
 * p    2 m + 1 powers
 * out  out: m + 1 means (p[2k] + p[2k+1]) / 2, the last is p[2m] itself
 * m    pairs: 128
 */
VASK_API void es_smoothed_psd(const int64_t *p, int64_t *out, int32_t m);

/**
 * Sum the bins into mel bands: amplitudes (DoMelFB_int64) or gains (DoMelFB).
 *
 * x        in: one value a bin, 129; DoMelFB: Q30, low 32 bits of the sums
 *          out: one value a band in the first 35
 * first    the chain of bands
 * scratch  out: one sum a band, same Q as x
 * nbins    any value: the bands hold their own bins
 *
 * Source: ETSI ES 202 050, mel filter bank.
 */
VASK_API void DoMelFB_int64(int64_t *x, mel_band *first, int64_t *scratch, int32_t nbins);
VASK_API void DoMelFB(int32_t *x, mel_band *first, int64_t *scratch, int32_t nbins);

/**
 * Decide whether the frame holds speech, and learn the noise of each band.
 *
 * vad        in, out: frame count, decision, hangover, run
 * spectrum   in, out: the band statistics
 * gsap_data  out: likelihood ratios and speech-absence probability, Q16; the decision
 * x          nb band amplitudes of the frame, below 2^47
 * nb         bands: 35
 *
 * A frame is speech if the speech-absence probability is below 0.2; after a run of at least four, 15 more
 * frames are. The first 20 frames are noise. The noise is updated only while the probability is above 0.35.
 * Source: J. Sohn, N. Kim, W. Sung, A statistical model-based voice activity detection, IEEE Signal
 *         Processing Letters 6(1), 1999; N. Kim, J. Chang, Spectral enhancement based on global soft
 *         decision, ibid. 7(5), 2000; the a-priori SNR after Y. Ephraim, D. Malah, 1984, as below.
 */
VASK_API void VAD_BasedOnGSAP(wiener_vad *vad, wiener_spectrum *spectrum, wiener_gsap_data *gsap_data,
                              const int64_t *x, int32_t nb);

/**
 * Design the Wiener gain of each bin.
 *
 * cur    in: n powers of this frame; out: their roots
 * noise  in, out: n noise amplitudes, 1 or more afterwards; updated only if vad says noise
 * den    in: n amplitudes of the previous frame without noise; out: of this frame
 * mean   in: n powers, mean of two frames; out: their roots
 * gain   out: n gains, Q30, 0 to 1.0; without overflow at least 0.074 (an SNR of -22 dB)
 * vad    frame_count, 1 or more: a plain mean of the first 99 frames, then 1 % new per frame; vad_flag
 * n      bins: 129
 *
 * Scale:  SNRs are ratios of amplitudes, Q20. The shift by 30 that turns an SNR into a gain wraps in 64 bits
 *         from an SNR of 8192 on; a gain that comes out negative is then 1.0.
 * Source: Y. Ephraim, D. Malah, Speech enhancement using a minimum mean-square error short-time spectral
 *         amplitude estimator (decision-directed SNR), IEEE Trans. ASSP 32(6), 1984; ETSI ES 202 050.
 */
VASK_API void FilterCalc(int64_t *cur, int64_t *noise, int64_t *den, int64_t *mean, int32_t *gain,
                         wiener_vad *vad, int32_t n);

/**
 * Turn mel-band gains into the taps of a zero-phase filter, in place.
 *
 * g        in: nbands gains, Q30; out: ntaps taps from the middle on, Q30, low 32 bits
 * scratch  out: ntaps sums, Q30
 * rows     ntaps rows of nbands values, Q30, from InitMelIDCTbasis
 * nbands   bands: 35
 * ntaps    taps: 35
 *
 * Source: ETSI ES 202 050, mel IDCT.
 */
VASK_API void DoMelIDCT(int32_t *g, int64_t *scratch, int32_t **rows, int32_t nbands, int32_t ntaps);

/**
 * Window the taps and mirror them into an impulse response.
 *
 * h    len / 2 taps from the middle on, Q30
 * win  len values, Q30; the second half is used
 * out  out: entries 1 ... len - 1, Q30, symmetric about len / 2
 * len  24, even
 */
VASK_API void DoFilterWindowing(const int32_t *h, const int32_t *win, int32_t *out, int32_t len);

/**
 * Convolve a frame with the impulse response.
 *
 * now   n + half samples: the frame and what follows it
 * past  n samples before the frame, of which the last half are read
 * h     2 half + 1 taps, Q30
 * out   out: n samples, low 16 bits of the sums
 * n     samples: 160
 * half  taps on either side: 12; with more than n of them nothing is written
 */
VASK_API void ApplyWF(const int16_t *now, const int16_t *past, const int32_t *h, int16_t *out, int32_t n,
                      int32_t half);

/* ---------------------------------------------------------------------------------------------------------
 * Release
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Release what the init function allocated, and null the pointers. close_wiener_filt releases everything.
 *
 * wf, spec, g  in, out: a record made by its init function, even if that failed
 */
VASK_API void close_wiener_filt(wiener_filt *wf);
VASK_API void close_wiener_filt_param(wiener_filt *wf);
VASK_API void close_wiener_spectrum(wiener_spectrum *spec);
VASK_API void close_wiener_gsap_data(wiener_gsap_data *g);

/**
 * Release the chain of mel bands: all weights, and every record but the first.
 *
 * first  in, out: the first band
 * n      bands, as at creation
 */
VASK_API void CloseMelFB(mel_band *first, int32_t n);

VASK_END_DECLS

#endif /* VASK_NOISE_H_ */
