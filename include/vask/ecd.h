/*
 * Environment change detection: after an utterance, did the level rise where speech began, and did the speech
 * stand out from the background? Two histories are recorded for the answer while frames are processed.
 */
#ifndef VASK_ECD_H_
#define VASK_ECD_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/* A vector: a handle to element 0; the float before it is the number of elements. */
typedef float *fvector;

/* A matrix: a handle to row 0, the rows being vectors; before row 0 is the vector {0, rows, columns}. */
typedef float **fmatrix;

/* The scoring window: 20 frames in two halves, and the five that follow. Natural logarithms. */
typedef struct EnvChangeDetect {
  int16_t dim;   /* 23: mel energies of a frame that are scored */
  fmatrix block; /* 5 x dim: the next five frames */
  fmatrix left;  /* 10 x dim: the older half */
  fmatrix right; /* 10 x dim: the newer half */
} EnvChangeDetect;

/*
 * Nonzero while histories are kept: 1 at load, then the result of __Vask_epd_ecd_Init. The counters below may
 * be written between calls; a value out of range is treated as the nearest valid one.
 */
extern VASK_API int32_t __Vask_epd_detect_env_change;

/*
 * 2050 x 24, a row for each frame that the MFCC extractor saw: columns 0 ... 22 the natural logarithms of mel
 * energies 1 ... 23 (of energy / 256), column 23 that of the sum of (energy / 1024)^2 over the bands.
 */
extern VASK_API fmatrix ecdLFBE;
extern VASK_API int32_t ecdFrames; /* rows filled, up to 2048 */

/* 2050 natural logarithms, one for each frame of the engine, of its square energy; minus infinity for 0. */
extern VASK_API float *ecdorgLFBE;
extern VASK_API int32_t ecdorgFrames; /* entries filled, up to 2048 */

/* The square energies themselves, by ecdorgFrames; for the application: the library never reads them. */
extern VASK_API int32_t frame_energy[2049];

/* The lowest and highest input sample, unclipped, since they were last reset or read out; initially 0. */
extern VASK_API int16_t sample_min, sample_max;

/* ---------------------------------------------------------------------------------------------------------
 * Vectors and matrices. If memory runs out, "Not enough memory" and the size are printed on standard output,
 * and the process ends with status 0.
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Allocate memory from the C heap; free() releases it.
 *
 * bytes   size
 *
 * return  the memory, never null
 */
VASK_API void *ecd_alloc(int32_t bytes);

/**
 * Make a vector.
 *
 * n       elements; they are not set
 *
 * return  the handle, never null
 */
VASK_API fvector create_fvector(int32_t n);

/**
 * Make a matrix.
 *
 * r       rows
 * c       columns; the elements are not set
 *
 * return  the handle, never null
 */
VASK_API fmatrix create_fmatrix(int32_t r, int32_t c);

/**
 * Set every element to 0.
 *
 * m  in, out: a matrix from create_fmatrix
 */
VASK_API void zero_fmatrix(fmatrix m);

/**
 * Copy elements.
 *
 * src  n elements
 * dst  out: n elements
 * n    elements; the vectors' own lengths are not checked
 */
VASK_API void copy_fvector(fvector src, fvector dst, int32_t n);

/**
 * Count the rows or the columns of a matrix.
 *
 * m       a matrix from create_fmatrix
 *
 * return  rows or columns; 0 for null
 */
VASK_API int32_t fmatrix_rows(fmatrix m);
VASK_API int32_t fmatrix_cols(fmatrix m);

/**
 * Release a vector or matrix.
 *
 * v, m  the handle, invalid afterwards; null does nothing
 */
VASK_API void free_fvector(fvector v);
VASK_API void free_fmatrix(fmatrix m);

/**
 * Release those matrices of a scoring window that exist, and null them.
 *
 * d  in, out: the record
 */
VASK_API void free_env_change_detect(EnvChangeDetect *d);

/* ---------------------------------------------------------------------------------------------------------
 * The detector. The engine sets it up when it starts and releases it when it stops.
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Make the scoring window and the histories; the counters are kept.
 *
 * return  1: window and histories are ready
 *         0: no memory for ecdorgLFBE; everything is released again
 *
 * Without memory for one of the matrices the process ends, as above.
 */
VASK_API int32_t __Vask_epd_ecd_Init(void);

/**
 * Set the thresholds of the report: 0.5 and 1.0 at load.
 *
 * level   speech over final background: natural-log units of energy, limited to 0 ... 9
 * rise    level between the changes over level before the first: natural-log units, limited to 0 ... 10
 *
 * return  1: both are set
 *         0: level is negative; it is set to 0, and rise is unchanged
 *
 * Scale:  a unit is 4.34 dB.
 */
VASK_API int32_t __Vask_epd_set_seneitivity(int32_t level, float rise);

/**
 * Look for changes in the histories and judge the recording; then empty the histories.
 *
 * return  -1: detection is off, or there are fewer than two changes; the SNR keeps its value
 *          0: the speech stands out, and the level rose where it began
 *          1: the speech stands out, but the level rose too little
 *          2: the speech does not stand out from the final background
 *
 * Without rows in ecdLFBE, which only the MFCC extractor writes, there are no changes.
 * Source: S. Chen, P. Gopalakrishnan, Speaker, environment and channel change detection and clustering via
 *         the Bayesian information criterion, DARPA Broadcast News Workshop, 1998.
 */
VASK_API int32_t Vask_epd_ecd(void);

/**
 * Look for changes and judge as Vask_epd_ecd does, whether detection is on or off, without emptying the
 * histories: the energies only move to the front, so that entry i of ecdorgLFBE belongs to row i of ecdLFBE.
 *
 * return  as Vask_epd_ecd
 */
VASK_API int32_t __Vask_epd_ecd_change(void);

/**
 * Look for changes in the rows of ecdLFBE: a window of 20 rows advances by 5, and where two diagonal
 * Gaussians explain its halves better than one explains all of it, the largest step in the newer half is a
 * change.
 *
 * first  out: row of the first change, -1 if there is none
 * last   out: row of the last change, -1 if there are fewer than two
 * count  out: number of changes
 *
 * A change that stays in the window may be counted again. Fewer than 26 rows have no change. Without the
 * scoring window of __Vask_epd_ecd_Init there are no changes.
 * Source: as Vask_epd_ecd.
 */
VASK_API void EnvChangeValue(int32_t *first, int32_t *last, int32_t *count);

/**
 * Judge the histories by the given changes, and keep the SNR for Vask_epd_ecd_snr.
 *
 * first   row of the first change
 * last    row of the last change
 * count   changes
 *
 * return  0, 1, 2: as Vask_epd_ecd
 *         3: fewer than two changes; the SNR is 0.0
 *
 * Rows outside the histories are left out of every mean; a mean of no rows is not a number and fails no test.
 */
VASK_API int32_t ECVreport(int32_t first, int32_t last, int32_t count);

/**
 * Read out the sample extremes, which are reset to 0, and the SNR of the recording judged last.
 *
 * min     out: the lowest sample
 * max     out: the highest sample
 *
 * return  dB; 0.0 before the first, not a number if no frame between the changes exceeded the background
 */
VASK_API float Vask_epd_ecd_snr(int16_t *min, int16_t *max);

/**
 * Read the SNR only.
 *
 * return  dB, as Vask_epd_ecd_snr
 */
VASK_API float __Vask_epd_ecd_get_SNR(void);

/**
 * Empty the histories and set the sample extremes to 0, without judging.
 *
 * return  0, always
 */
VASK_API int32_t Vask_epd_ecd_reset(void);

/**
 * Release the scoring window and the histories; a second call does nothing.
 *
 * return  1, always
 */
VASK_API int32_t __Vask_epd_ecd_Stop(void);

VASK_END_DECLS

#endif /* VASK_ECD_H_ */
