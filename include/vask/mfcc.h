/*
 * Mel-frequency cepstra of a frame from its power spectrum, with derivatives and a cepstral mean that is
 * learned from utterance to utterance. The same frames feed the environment check of ecd.h.
 *
 * The caller owns an mfcc_prm: init_mfcc_prm (or vask_init_mfcc_prm) once; for every utterance
 * refresh_mfcc_prm, then for every frame a power spectrum into prm->spec and mfcc_feat_ex, then
 * global_cms_update; close_mfcc_prm at the end. docs/environment-and-mfcc.md has an example.
 */
#ifndef VASK_MFCC_H_
#define VASK_MFCC_H_

#include <stdint.h>
#include <stdio.h>

#include <vask/dsp.h>
#include <vask/export.h>

VASK_BEGIN_DECLS

/* The extractor. 257 bins of 31.25 Hz, 23 mel channels, 13 coefficients. */
typedef struct mfcc_prm {
  int64_t *fbank;       /* bins; channels 1 ... 23: sums of magnitudes, Q8 */
  int32_t *lfbe;        /* 24; channels 1 ... 23: natural logarithms of fbank / 256, Q16 */
  int32_t *fbank_wt;    /* bins; 1 ... 256: the share of the lower channel, Q30 */
  int64_t *spec;        /* bins; in: powers, integers; out: magnitudes, Q8 */
  int32_t *lo_chan;     /* bins; 1 ... 256: the lower channel, 0 ... 23 */
  int32_t klo;          /* 2: first bin used */
  int32_t khi;          /* 256: last bin used */
  int32_t dct_scale;    /* sqrt(2 / 23), Q30 */
  int32_t delta_state;  /* -2 ... 0: frames that the derivatives still wait for */
  int32_t accel_state;  /* likewise */
  fir_filt *delta_filt; /* 13 regressions over cep, 5 taps */
  fir_filt *accel_filt; /* 13 regressions over delta, 5 taps */
  int32_t *dct;         /* 13 x 23, row by row, Q30 */
  int32_t *cep;         /* 13: cepstra of the output frame, Q20 */
  int32_t *delta;       /* 13: their first derivatives, Q20 */
  int32_t *accel;       /* 13: their second derivatives, Q20 */
  int32_t *cms_new;     /* 13: the mean that the last update computed, Q20 */
  int32_t *cms;         /* 13: the mean that is subtracted, Q20 */
  int32_t *cms_sum_hi;  /* 13: sums of the upper halves of the output cepstra, as L_Extract splits them */
  int32_t *cms_sum_lo;  /* 13: sums of the lower halves */
  int32_t *cms_utt;     /* 13: mean of the frames of the last update, Q20 */
  int32_t frames;       /* output frames since the last update or refresh */
  int32_t bins;         /* 257 */
} mfcc_prm;

/*
 * The built-in tables. loChan: for bins 1 ... 256 the mel channel below. InitFBank: the share of that
 * channel, Q30; the one above gets the rest. InitDCTMatrix: 13 x 23 values cos(pi k (j + 0.5) / 23), Q30.
 * pre_emph: the power response of 1 - 0.97 z^-1 at bins 0 ... 256, Q29, for the caller's use.
 */
extern VASK_API const int32_t loChan_N, pre_emph_N, InitDCTMatrix_N, InitFBank_N;
extern VASK_API int32_t loChan_data[256], pre_emph_data[257], InitDCTMatrix_data[299], InitFBank_data[256];

/* ---------------------------------------------------------------------------------------------------------
 * Set-up. Files are in Vask_epd_base_dir (engine.h).
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Set up an extractor from the table files InitFBank.txt, loChan.txt and InitDCTMatrix.txt; pre_emph.txt must
 * exist, but is not read. The cepstral mean comes from global_cms.
 *
 * m        out: the record; its previous contents are ignored
 * fft_len  512
 *
 * return   1: the extractor is ready, even without a readable global_cms
 *          0: a table file is missing, short or malformed, fft_len is not 512, or no memory; a message on
 *             standard output says which, with the line of a malformed file, and nothing is kept
 *
 * Without a global_cms that can be read the mean is zero ("ERROR: can't open global_cms"), or zero from the
 * first bad value on ("ERROR: read global_cms").
 */
VASK_API int32_t init_mfcc_prm(mfcc_prm *m, int32_t fft_len);

/**
 * Set up an extractor from the built-in tables, with a mean of zero. No file is opened.
 *
 * m       out: the record; its previous contents are ignored
 *
 * return  1: the extractor is ready, and nothing is printed
 *         0: no memory; an "ERROR: " line, and nothing is kept
 */
VASK_API int32_t vask_init_mfcc_prm(mfcc_prm *m);

/**
 * Begin an utterance: frames 0, derivatives primed again. The first call of the process also reads
 * global_cms, as init_mfcc_prm does. The sums of the mean are kept: without global_cms_update between two
 * utterances they hold frames that are no longer counted.
 *
 * m  in, out: the record
 */
VASK_API void refresh_mfcc_prm(mfcc_prm *m);

/**
 * Release the record; a second call does nothing.
 *
 * m  in, out: the record, whose pointers are nulled
 */
VASK_API void close_mfcc_prm(mfcc_prm *m);

/**
 * Read the tables of the mel channels, InitFBank.txt and loChan.txt.
 *
 * fft_len            points; fft_len / 2 lines of each file are read
 * channels_plus_one  any value
 * lo_chan, wt        out: entries 1 ... fft_len / 2; entry 0 is unchanged
 *
 * return             0: both tables are read
 *                   -1: a file is missing, short or malformed; a message names it and the line, and entries
 *                       may have been written by then
 */
VASK_API int32_t InitFBank(int32_t fft_len, int32_t channels_plus_one, int32_t *lo_chan, int32_t *wt);

/**
 * Read InitDCTMatrix.txt.
 *
 * rows, cols  the first rows * cols lines are read
 *
 * return      a block from the C heap, row by row, Q30; free() releases it
 *             null: the file is missing, short or malformed (a message names it and the line), or no memory
 */
VASK_API int32_t *InitDCTMatrix(int32_t rows, int32_t cols);

/**
 * Read the next word of a parameter file. Lines that begin with # are comments, echoed on standard output
 * without the #; empty lines and lines that begin with a space are skipped; of other lines the first word
 * counts.
 *
 * token   out: 256 bytes, the word and a zero
 * file    open text file; what follows the first 255 bytes of a line is ignored
 *
 * return  1: a word was read
 *         0: the end of the file
 */
VASK_API int32_t read_params(char *token, FILE *file);

/**
 * Convert a bin to the mel scale.
 *
 * k       bin, counted from 1
 * r       width of a bin, in units of 700 Hz: 16000 / (512 * 700)
 *
 * return  mel: 1127 ln(1 + (k - 1) r)
 */
VASK_API float Melf(int32_t k, float r);

/* ---------------------------------------------------------------------------------------------------------
 * Frames
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Turn one frame's power spectrum into 13 cepstra and, on request, their derivatives.
 *
 * m              in: m->spec, m->bins powers, int64, below 2^46, replaced by their roots, Q8
 *                out: m->cep, m->delta, m->accel, 13 values each, Q20
 * ready          out: 1 if an output frame is there, 0 while still filling
 * unused         any value
 * with_dynamics  0: this frame's cepstra; else: with derivatives, of the frame 4 calls earlier
 *
 * With a null record or ready nothing is read or written; a record that is not set up sets ready to 0. While
 * __Vask_epd_detect_env_change is nonzero the frame's log energies go to ecdLFBE, until it holds 2048 rows.
 * Scale:  1.0 = 1 << 20; the stored cepstral mean is already subtracted. Powers beyond 2^46 wrap.
 * Source: S. Davis, P. Mermelstein, IEEE Trans. ASSP 28(4), 1980.
 */
VASK_API void mfcc_feat_ex(mfcc_prm *m, int32_t *ready, int32_t unused, int32_t with_dynamics);

/**
 * Compute the cosine transform of the cepstra: y[k] = s (M[k][0] x[1] + ... + M[k][cols - 1] x[cols]).
 *
 * x           cols + 1 values, Q16; x[0] is not read
 * y           out: rows values, Q20
 * M           rows x cols, row by row, Q30
 * rows, cols  sizes
 * scale       s, Q30
 *
 * Products are rounded down; sums wrap in 32 bits.
 */
VASK_API void DCT(const int32_t *x, int32_t *y, const int32_t *M, int32_t rows, int32_t cols, int32_t scale);

/* ---------------------------------------------------------------------------------------------------------
 * Cepstral mean
 * ------------------------------------------------------------------------------------------------------ */

/**
 * End an utterance: the mean becomes 0.8 of the old mean and 0.2 of the utterance's. Without output frames
 * nothing happens. Every third update of the process writes global_cms and prints the number of frames and
 * the mean.
 *
 * m  in, out: the record
 *
 * Up to 65536 frames (655 s) are averaged; the sums of more wrap. A file that cannot be written is reported,
 * and the old one stays intact.
 */
VASK_API void global_cms_update(mfcc_prm *m);

/**
 * Read the mean from global_cms, or write it there now, whatever the number of updates.
 *
 * m       in, out: the record; its cms
 *
 * return  1: the mean is read or written
 *         0: it is not; a message as from init_mfcc_prm, or "ERROR: can't write global_cms"
 *
 * Writing replaces the file in one step: it holds the old mean or the new one, whatever happens in between.
 */
VASK_API int32_t vask_read_global_cms(mfcc_prm *m);
VASK_API int32_t vask_write_global_cms(const mfcc_prm *m);

VASK_END_DECLS

#endif /* VASK_MFCC_H_ */
