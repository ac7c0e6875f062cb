/*
 * Fixed-point signal processing: saturating operators, the real FFT with its twiddle tables, logarithms,
 * exponentials and roots, analysis windows, and the small filters of the frame path.
 */
#ifndef VASK_DSP_H_
#define VASK_DSP_H_

#include <stdint.h>

#include <vask/export.h>

VASK_BEGIN_DECLS

/*
 * Twiddle factors for a transform of 2^m points, cut into stages: four arrays of m - 1 slots. Slot s serves
 * the stage of 2^(s+2) points and holds 2^(s-1) - 1 values in Q30; slot 0 is null, slot 1 empty.
 */
typedef struct fft_tables {
  int32_t **cc1; /* cos(2 pi j / len), j = 1 ... len/8 - 1 in entry j - 1, len = points of the stage */
  int32_t **ss1; /* sin(2 pi j / len) */
  int32_t **cc3; /* cos(3 * 2 pi j / len) */
  int32_t **ss3; /* sin(3 * 2 pi j / len) */
} fft_tables;

/* DC-offset filter. The values keep the scale of the input; initially zero. */
typedef struct dc_filt {
  int32_t prev_in;  /* the previous input */
  int32_t prev_out; /* the previous output */
} dc_filt;

/* Pre-emphasis filter. */
typedef struct pre_emph_filt {
  int32_t coef; /* Q30: 1041529569, 0.97 */
  int32_t prev; /* the previous sample, * 65536 */
} pre_emph_filt;

/* Regression filter: the slope of a stream of values. */
typedef struct fir_filt {
  int32_t *coef; /* len coefficients, Q30 */
  int32_t *hist; /* the last len inputs, the oldest first; initially zero */
  int32_t len;   /* taps */
  int32_t delay; /* -(len / 2): by how much the output lags the newest input */
} fir_filt;

/* First-order high-pass filter. */
typedef struct fix32_hp_filt {
  int32_t *b;      /* 2 coefficients, Q29, of the previous and the current input */
  int32_t *x_hist; /* 2: previous and current input */
  int32_t b_len;   /* 2 */
  int32_t *a;      /* 2 coefficients, Q29: of the previous output; 1.0, unused */
  int32_t *y_hist; /* 2: previous and current output */
  int32_t a_len;   /* 2 */
  int32_t delay;   /* -2, unused */
} fix32_hp_filt;

/* ---------------------------------------------------------------------------------------------------------
 * Operators. Those named after the basic operators give the same bits, without the overflow flag; a 16-bit
 * value is carried, sign-extended, in an int32_t.
 * Source: ITU-T G.191, Software Tool Library, basic operators.
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Count the left shifts that normalise x: into 0x40000000 ... 0x7fffffff, or 0x80000000 ... 0xbfffffff.
 *
 * x       32 bits
 *
 * return  0 to 31; 0 for 0, 31 for -1
 */
VASK_API int32_t norm_l(int32_t x);

/**
 * Shift with saturation: L_shl to the left, L_shr arithmetically to the right.
 *
 * x       32 bits
 * s       bits; a negative count shifts the other way, by at most 32
 *
 * return  x * 2^s or floor(x / 2^s), saturated to 32 bits; from L_shr by 31 or more 0, or -1 for a negative x
 */
VASK_API int32_t L_shl(int32_t x, int32_t s);
VASK_API int32_t L_shr(int32_t x, int32_t s);

/**
 * Extract the upper (extract_h) or lower (extract_l) half of x.
 *
 * x       32 bits
 *
 * return  16 bits, sign-extended
 */
VASK_API int32_t extract_h(int32_t x);
VASK_API int32_t extract_l(int32_t x);

/**
 * Subtract a doubled product: acc - 2ab.
 *
 * acc     32 bits
 * a, b    16-bit values; the doubled product of -32768 and -32768 saturates to 2147483647 first
 *
 * return  32 bits, saturated
 */
VASK_API int32_t L_msu(int32_t acc, int32_t a, int32_t b);

/**
 * Split x into two 16-bit parts: x = hi * 65536 + 2 * lo, except for the lowest bit.
 *
 * x   32 bits
 * hi  out: the upper 16 bits, sign-extended
 * lo  out: 0 to 32767
 */
VASK_API void L_Extract(int32_t x, int32_t *hi, int32_t *lo);

/**
 * Compute 1 / sqrt(x), linear between 49 table points.
 *
 * x       integer
 *
 * return  Q30: 1073709056 for 1, 32767 for 2^30; 1073741823 for 0 or less
 */
VASK_API int32_t Inv_sqrt(int32_t x);

/**
 * Take the magnitude of x.
 *
 * x       32 bits
 *
 * return  |x|; 2147483647 for -2147483648
 */
VASK_API int32_t epd_abs_s(int32_t x);

/* ---------------------------------------------------------------------------------------------------------
 * Windows
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Write the first n values of the 400-point analysis window of the noise reduction.
 *
 * dst  out: n values, Q30: 0.5 - 0.5 cos(2 pi (i + 0.5) / 400)
 * n    up to 400
 */
VASK_API void init_hanning_wind(int32_t *dst, int32_t n);

/**
 * Write the first n values of the 320-point analysis window of the endpoint detector.
 *
 * dst  out: n values, Q30: 0.54 - 0.46 cos(2 pi i / 319), single precision, hence not quite symmetric
 * n    up to 320
 */
VASK_API void init_hamm_window(int32_t *dst, int32_t n);

/**
 * Write a Hanning window of any length; the noise reduction applies one of 24 points to its impulse response.
 *
 * dst  out: n values, Q30: 0.5 - 0.5 cos(2 pi (i + 0.5) / n), from single precision
 * n    points of the window
 */
VASK_API void init_filter_wind(int32_t *dst, int32_t n);

/* ---------------------------------------------------------------------------------------------------------
 * Real FFT
 * ------------------------------------------------------------------------------------------------------ */

/*
 * Twiddle factors of all stages of up to 512 points: 1, 3, 7, 15, 31 and 63 values for the stages of 16, 32,
 * 64, 128, 256 and 512 points, 120 in all; Q30, from single precision. *_N is the number of values. Never
 * written; the engine cuts them into fft_tables when it starts.
 */
extern VASK_API const int32_t cc1_N, ss1_N, cc3_N, ss3_N;
extern VASK_API int32_t cc1_data[120], ss1_data[120], cc3_data[120], ss3_data[120];

/**
 * Transform n real values in place, in integer arithmetic only.
 *
 * x                   in: n values, int64, scale of the caller's choice
 *                     out: Re X(0) ... Re X(n/2), then Im X(n/2 - 1) ... Im X(1)
 * n                   points: 2^m
 * m                   1 to 9
 * cc1, ss1, cc3, ss3  the slots of fft_tables for 2^m points or more, Q30
 *
 * If m is out of range, n is not 2^m or a slot is missing, x is unchanged.
 * Scale:  X(k) = sum of x(t) e^(-2 pi i k t / n), not divided by n. Sums of two intermediate values that are
 *         divided by sqrt(2) must stay below 2^33 in magnitude, as they do for windowed 16-bit samples times
 *         2^10. Beyond that the result wraps.
 * Source: H. Sorensen, D. Jones, M. Heideman, C. Burrus, Real-valued fast Fourier transform algorithms (split
 *         radix), IEEE Trans. ASSP 35(6), 1987.
 */
VASK_API void rfft(int64_t *x, int32_t n, int32_t m, int32_t **cc1, int32_t **ss1, int32_t **cc3,
                   int32_t **ss3);

/* ---------------------------------------------------------------------------------------------------------
 * Logarithms, exponentials, roots
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Take the logarithm of an integer, to base 2, e or 10; linear between 1025 table points.
 *
 * x       integer, 1 or more
 *
 * return  Q16; below 1: -1 (LOG2) or 0 (the others)
 */
VASK_API int32_t LOG2(int32_t x);
VASK_API int32_t natural_log(int32_t x);
VASK_API int32_t log_10(int32_t x);

/**
 * Take the logarithm of a fraction, to base 2 or e; linear between 1024 table points.
 *
 * x       Q30, 0 to 1.0
 *
 * return  Q26
 *         below 1/1024: -20.0 (LOG2_Q30) or -20 ln 2 (natural_log_Q30)
 *         1.0 and above: 0
 *         negative: the integer -1 (LOG2_Q30) or 0 (natural_log_Q30)
 */
VASK_API int32_t LOG2_Q30(int32_t x);
VASK_API int32_t natural_log_Q30(int32_t x);

/**
 * Take the logarithm of an integer to base 2, with the coarse table of the basic operators (33 points).
 *
 * x       integer, 1 or more
 *
 * return  Q15; 0 below 1
 *
 * Source: ITU-T G.191; exponent and fraction are packed into one value here.
 */
VASK_API int32_t Log2(int32_t x);

/**
 * Take the natural logarithm of x / 1024.
 *
 * x       integer, in 1/1024
 *
 * return  Q15; below 1: ln(1/1024), -227130
 */
VASK_API int32_t natural_log_mfcc(int32_t x);

/**
 * Compute e^x by a fifth-order Taylor series.
 *
 * x       Q16, 0 to ln 2 (45426); outside this range the series departs from e^x
 *
 * return  Q16
 */
VASK_API int32_t Exponential_T(int32_t x);

/**
 * Compute e^x.
 *
 * x       Q16; below 0 the result is shifted right, eventually to 0
 *
 * return  Q16 (Exp) or Q6 (Exp_Q6), low 32 bits
 *
 * Nothing saturates: Exp fits up to about 10.3, Exp_Q6 up to about 17.3; 32 (Exp) or 64 (Exp_Q6) doublings or
 * more give 0.
 */
VASK_API int32_t Exp(int32_t x);
VASK_API int32_t Exp_Q6(int32_t x);

/**
 * Compute x^y.
 *
 * x       integer; below 1 counts as 1
 * y       Q30
 *
 * return  Q6; 2147483647 if 32 bits overflow into the sign
 */
VASK_API int32_t Pow(int32_t x, int32_t y);

/**
 * Take the square root of a 32-bit integer, linear between 1025 table points.
 *
 * x       integer, 0 to 2^30 - 1
 *
 * return  Q16; from 2^30 on: 2147483647; below 0: -1
 */
VASK_API int32_t sqrt_function(int32_t x);

/**
 * Take the square root of a 64-bit integer, linear between table points.
 *
 * x       integer; a negative one is taken as an overflowed sum, 2^63 - 1
 *
 * return  integer (sqrt_f) or Q8 (sqrt_fQ8)
 *
 * From 2^52 on the interpolation may wrap, and the root is off by up to a table step.
 */
VASK_API int64_t sqrt_f(int64_t x);
VASK_API int64_t sqrt_fQ8(int64_t x);

/* ---------------------------------------------------------------------------------------------------------
 * Filters
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Set a DC-offset filter to its initial state.
 *
 * f  out: both values 0
 */
VASK_API void init_dc_filt(dc_filt *f);

/**
 * Remove the DC offset from n values, in place: y[i] = x[i] - x[i-1] + (1 - 2^-10) y[i-1].
 *
 * x  in: n values, int32 (the engine: samples << 15); out: the filtered values, same scale
 * f  in, out: the state
 * n  values
 *
 * The sum wraps in 32 bits; it does not saturate.
 */
VASK_API void DCOffsetFil(int32_t *x, dc_filt *f, int32_t n);

/**
 * Set a pre-emphasis filter to its initial state.
 *
 * f  out: coef 0.97 in Q30, prev 0
 */
VASK_API void InitPreEmphFilt(pre_emph_filt *f);

/**
 * Boost the high frequencies: out[i] = 65536 (s[i] - 0.97 s[i-1]).
 *
 * f    in, out: coefficient and state
 * in   n samples, 16 bits
 * out  out: n values, sample * 65536, low 32 bits
 * n    samples
 */
VASK_API void PreEmphasis(pre_emph_filt *f, const int16_t *in, int32_t *out, int32_t n);

/**
 * Find the majority of n decisions, which is their median.
 *
 * d        n decisions, 0 or 1, any order
 * n        decisions
 * ignored  any value
 *
 * return   1: the sum of d, which wraps in 16 bits, exceeds n / 2; also for a negative n, where the sum is 0
 *          0: it does not
 */
VASK_API int32_t median_filt(const int16_t *d, int32_t n, void *ignored);

/**
 * Design a regression filter: coef[j] = (j - K) / sqrt(2 (1^2 + ... + K^2)), K = len / 2, from single
 * precision; empty history.
 *
 * f       out: the record; its previous contents are ignored
 * len     taps, 1 or more; an even filter is one tap short of symmetric, a single tap is 0
 *
 * return  1: the filter is ready
 *         0: no memory, or len is below 1; nothing is kept
 */
VASK_API int32_t iinit_filter(fir_filt *f, int32_t len);

/**
 * Design an array of regression filters, each as by iinit_filter.
 *
 * f       out: count records, from malloc(); on failure the array itself is freed too
 * count   records; below 1 nothing happens
 * len     taps of each
 *
 * return  1: all filters are ready
 *         0: no memory, or len is below 1; nothing is kept
 */
VASK_API int32_t init_filter(fir_filt *f, int32_t count, int32_t len);

/**
 * Push a value and filter: the sum of hist[i] * coef[i].
 *
 * x       any scale
 * f       in, out: the filter
 *
 * return  the slope at the value len / 2 pushes ago, times sqrt(2 (1^2 + ... + K^2)), in the scale of x;
 *         0 from a filter that is not open
 *
 * Each product is rounded down; the sum wraps in 32 bits.
 */
VASK_API int32_t filter(int32_t x, fir_filt *f);

/**
 * Push one value into each of an array of filters and filter, as filter() does.
 *
 * in     count values
 * out    out: count results
 * f      in, out: count filters; if one of them is not open, nothing happens
 * count  filters
 */
VASK_API void filtering(const int32_t *in, int32_t *out, fir_filt *f, int32_t count);

/**
 * Push a value into the history only; buffering: one into each of an array of filters.
 *
 * x, in  value, or count values
 * f      in, out: the filter, or count filters
 * count  filters
 */
VASK_API void buffer(int32_t x, fir_filt *f);
VASK_API void buffering(const int32_t *in, fir_filt *f, int32_t count);

/**
 * Release a filter; close_filter: an array of filters and the array itself, which is from malloc().
 *
 * f      in, out: the filter, whose pointers are nulled, or the array
 * count  filters
 */
VASK_API void close_filt(fir_filt *f);
VASK_API void close_filter(fir_filt *f, int32_t count);

/**
 * Set up a high-pass filter: y[n] = 0.9658498 (x[n] - x[n-1]) + 0.9316996 y[n-1].
 *
 * f       out: the record, with zero state; its previous contents are ignored
 *
 * return  1: the filter is ready
 *         0: no memory; nothing is kept
 */
VASK_API int32_t fix32_init_hp_filt(fix32_hp_filt *f);

/**
 * Pass one value through a high-pass filter.
 *
 * x       any scale
 * f       in, out: the filter
 *
 * return  the filtered value, in the scale of x; 0 from a filter that is not open
 *
 * The sum wraps in 32 bits.
 */
VASK_API int32_t fix32_hp_filtering(int32_t x, fix32_hp_filt *f);

/**
 * Set the state of a high-pass filter to zero.
 *
 * f  in, out: the filter
 */
VASK_API void fix32_reinit_hp_filt(fix32_hp_filt *f);

/**
 * Release a high-pass filter; a second call does nothing.
 *
 * f  in, out: the filter
 */
VASK_API void fix32_close_filt(fix32_hp_filt *f);

VASK_END_DECLS

#endif /* VASK_DSP_H_ */
