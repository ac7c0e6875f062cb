/*
 * Voiced or unvoiced: features of the 320-sample analysis window and its power spectrum, and the vote that
 * turns them into a decision.
 *
 * In the signatures s are samples (16 bits), x the same samples << 16, P is a power spectrum, n bins of
 * 31.25 Hz (int32, 0 or more, no fixed Q). Lags are in samples; 32 to 267 are 500 Hz down to 60 Hz.
 */
#ifndef VASK_VOICING_H_
#define VASK_VOICING_H_

#include <stdint.h>

#include <vask/epd.h>
#include <vask/export.h>

VASK_BEGIN_DECLS

/* ---------------------------------------------------------------------------------------------------------
 * The decision
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Decide whether the window is voiced: an energy gate, a spectral-tilt gate, then ten votes.
 *
 * s          n samples
 * n          samples: 320
 * P          bins powers
 * bins       257
 * prm        in, out: prm->uv: features, raw and smoothed decision, histories, frames_since_voiced
 * noise      noise level: units, Q16; limited to 150 ... 300 units
 * vad_raw    any value
 * noise_ref  noise level to which the profile's offset is added: units, Q16; the larger of the two counts
 * vad        log_energy, peak_amplitude, the counts of strong bins
 * profile    thresholds
 *
 * If a gate stops the window, the features keep their values. The smoothed decision is the majority of the
 * last seven.
 */
VASK_API void uv_detection(const int16_t *s, int32_t n, const int32_t *P, int32_t bins, energy_epd_prm *prm,
                           int32_t noise, int32_t vad_raw, int32_t noise_ref, energy_vad_prm *vad,
                           const epd_profile *profile);

/**
 * Decide by the energy gate.
 *
 * energy     units, Q16
 * reference  units, Q16
 * margin     units, Q16
 *
 * return     1: energy - reference exceeds margin
 *            0: it does not
 */
VASK_API int32_t uv_decision_based_on_energy(int32_t energy, int32_t reference, int32_t margin);

/**
 * Compute the features of the vote, in the order below, at lags 32 to 267.
 *
 * s     n samples
 * n     samples, up to 320
 * P     bins powers
 * bins  257
 * prm   out: clip_crossings, zcr, yin_voicing, amdf_min, peak_valley_ratio, tonality, spectral_entropy, and
 *       uv_scratch
 */
VASK_API void uv_feat_ext(const int16_t *s, int32_t n, const int32_t *P, int32_t bins, uv_prm *prm);

/* ---------------------------------------------------------------------------------------------------------
 * Features
 * ------------------------------------------------------------------------------------------------------ */

/**
 * Divide the mean power above 4 kHz (bins 129 ... n - 1) by the mean power below (bins 9 ... 128).
 *
 * P       n powers
 * n       bins: 257
 *
 * return  Q16, low 32 bits of the quotient
 *
 * A lower mean of 0 counts as 1, a mean that overflowed as 2147483647.
 */
VASK_API int32_t High2LowBandEnergyRatioEst(const int32_t *P, int32_t n);

/**
 * Find the level at which to clip the window: 0.46 of the largest magnitude in its first and last 80 samples.
 *
 * s       n samples
 * n       samples, 80 or more
 *
 * return  in samples; magnitudes have 16 bits, so -32768 is never the largest
 */
VASK_API int32_t clipping_level_es(const int16_t *s, int32_t n);

/**
 * Clip away the centre and count the changes of level.
 *
 * s       n samples
 * out     out: n values: 1 from level on, -1 from -level down, 0 between
 * level   in samples
 * n       samples
 *
 * return  changes; one that follows another, counted or not, with fewer than three quiet steps between them
 *         does not count
 *
 * Source: J. Dubnowski, R. Schafer, L. Rabiner, Real-time digital hardware pitch detector, IEEE Trans. ASSP
 *         24(1), 1976.
 */
VASK_API int32_t three_level_center_clipper(const int16_t *s, int16_t *out, int32_t level, int32_t n);

/**
 * Count the zero crossings between neighbouring samples.
 *
 * s         samples
 * from, to  the range: from ... to - 1
 * scratch   out: the signs, 1 or -1, in the same range
 *
 * return    zero crossings; 0 for fewer than two samples
 */
VASK_API int32_t ZCR(const int16_t *s, int32_t from, int32_t to, int16_t *scratch);

/**
 * Measure how periodic the window is: 1 less the lowest cumulative-mean-normalised difference over the lags.
 *
 * x                 n samples << 16
 * min_lag, max_lag  1 <= min_lag <= max_lag <= 320
 * n                 samples: 320
 *
 * return            Q16, 0 to 1.0
 *
 * Sums wrap in 32 bits for loud windows; a negative one counts as 2147483647.
 * Source: A. de Cheveigne, H. Kawahara, YIN, a fundamental frequency estimator for speech and music, J.
 *         Acoust. Soc. Am. 111(4), 2002.
 */
VASK_API int32_t VoicingProEst_YIN(const int32_t *x, int32_t min_lag, int32_t max_lag, int32_t n);

/**
 * Find the smallest mean magnitude difference over the lags.
 *
 * x                 n samples << 16
 * n                 samples: 320
 * min_lag, max_lag  below n
 *
 * return            samples, Q13 (a mean of x, / 8); 268435455 without any mean
 *
 * Sums wrap in 32 bits, and a negative mean does not count.
 * Source: M. Ross et al., Average magnitude difference function pitch extractor, IEEE Trans. ASSP 22(5),
 *         1974.
 */
VASK_API int32_t AMDF_MinimumEst(const int32_t *x, int32_t n, int32_t min_lag, int32_t max_lag);

/**
 * Divide the highest normalised autocorrelation of the magnitudes by the lowest.
 *
 * x                 n samples << 16
 * min_lag, max_lag  below n
 * n                 samples, up to 320
 *
 * return            Q16, low 32 bits of the quotient; a lowest value of 0 or less counts as 1.0
 */
VASK_API int32_t PeakValleyRatioEst(const int32_t *x, int32_t min_lag, int32_t max_lag, int32_t n);

/**
 * Compute the autocorrelation, normalised by the energies of both parts.
 *
 * a                 n magnitudes, sample << 16
 * r                 out: r[min_lag] ... r[max_lag], Q30; 0 where there is no energy
 * n                 samples: 320
 * min_lag, max_lag  below n
 */
VASK_API void NormalizedAutocorrelationEst(const int32_t *a, int32_t *r, int32_t n, int32_t min_lag,
                                           int32_t max_lag);

/**
 * Measure how tonal the spectrum is: the flatness of its band means, G/A, as -10 ln(G/A) / 60.
 *
 * P       n powers
 * n       bins: 257
 * bands   32, of n / bands bins each; the rest is left out
 * work    out: bands means
 *
 * return  Q16, up to 1.0, which is a flatness of e^-6 or less
 *
 * A flat spectrum gives 0 to 14480, since G is truncated to Q6. A negative value is returned as 1.0 by
 * BP_TonalityEst and as it is by bp_tonality_es, whose exponent is fixed at 1/32.
 * Source: spectral flatness after A. Gray, J. Markel, IEEE Trans. ASSP 22(3), 1974; tonality after
 *         J. Johnston, IEEE J. Sel. Areas Commun. 6(2), 1988.
 */
VASK_API int32_t BP_TonalityEst(const int32_t *P, int32_t n, int32_t bands, int32_t *work);
VASK_API int32_t bp_tonality_es(const int32_t *P, int32_t n, int32_t bands, int32_t *work);

/**
 * Measure the same over all n bins, without bands; the exponent is that of 257 bins.
 *
 * P       n powers
 * n       bins: 257
 *
 * return  Q16, up to 1.0; may be negative
 */
VASK_API int32_t tonality_es(const int32_t *P, int32_t n);

/**
 * Compute the spectral entropy of the band means, each band weighted by how much it differs from its
 * neighbours.
 *
 * P       n powers
 * n       bins: 257
 * bands   64, of n / bands bins each; the rest is left out
 * band    out: bands shares of the total, Q30
 * weight  out: bands weights, Q16: variance of the smallest mean over the band's, and over its neighbours'
 *
 * return  sum of weight * p ln p, Q16, 0 or less: the caller negates it
 *
 * Source: B.-F. Wu, K.-C. Wang, Robust endpoint detection algorithm based on the adaptive band-partitioning
 *         spectral entropy in adverse environments, IEEE Trans. Speech Audio Proc. 13(5), 2005.
 */
VASK_API int32_t WeightedBandPartitioningSpectralEntropyEst(const int32_t *P, int32_t n, int32_t bands,
                                                            int32_t *band, int32_t *weight);

/**
 * Do the last step of the entropy: turn values into shares and sum weight * p ln p.
 *
 * p       in: n values; out: their shares, Q30, raised to 4211 (3.9e-6) where smaller
 * n       values
 * weight  n weights, Q16
 *
 * return  Q16, 0 or less
 *
 * A total of 0 counts as 1, one that overflowed as 2147483647.
 */
VASK_API int32_t WeightedSpectralEntropyEst(int32_t *p, int32_t n, const int32_t *weight);

/**
 * Compute the variance of three values, squares / 65536.
 *
 * a, b, c  Q16
 *
 * return   Q16; 715827882 if the sum overflows
 */
VASK_API int32_t VarianceEst(int32_t a, int32_t b, int32_t c);

/**
 * Find the smallest mean magnitude difference over the lags, on samples; each term is divided before the sum.
 *
 * s                 n samples
 * n                 samples
 * min_lag, max_lag  below n
 *
 * return            in samples; 2147483647 without lags
 */
VASK_API int32_t AMDF_MINIMUM(const int16_t *s, int32_t n, int32_t min_lag, int32_t max_lag);

VASK_END_DECLS

#endif /* VASK_VOICING_H_ */
