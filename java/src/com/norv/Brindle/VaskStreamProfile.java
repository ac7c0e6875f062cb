package com.norv.Brindle;

/** The seventeen values by which the detector {@link VaskStream.Detector#ENERGY} is tuned for a device. */
public enum VaskStreamProfile {
  /** Speech continues for this many frames of 10 ms after its last one: 0 to 3000. */
  HANGOVER_FRAMES,
  /** A segment of this many frames needs voiced ones to go on. */
  VOICED_CHECK_FRAMES,
  /** Beyond this many frames a long unvoiced run ends the segment. */
  LONG_SPEECH_FRAMES,
  /** Frames, for that rule; below HANGOVER_FRAMES + 30 it is raised to that. */
  MAX_UNVOICED_RUN,
  /** Units of 0.19 dB above the noise, whole. */
  VAD_THRESHOLD,
  /** Bits that samples are shifted right before energies and magnitudes: 0 to 15. */
  SAMPLE_SHIFT,
  /** Bits that the energy is shifted right before its logarithm: 0 to 30. */
  ENERGY_SHIFT,
  /** The ratio of the energy above 4 kHz to that below, of a voiced frame, is below this: Q16. */
  H2L_RATIO_MAX,
  /** Vote: voicing above this: Q16. */
  YIN_MIN,
  /** Vote: the smallest mean magnitude difference is above this: samples, Q13. */
  AMDF_LOW,
  /** And below this. */
  AMDF_HIGH,
  /** Vote: the ratio of the autocorrelation's peak to its valley is above this: Q16. */
  PV_LOW,
  /** And below this. */
  PV_HIGH,
  /** Vote: tonality above this: Q16. */
  TONALITY_MIN,
  /** Vote: spectral entropy below this: Q16. */
  ENTROPY_MAX,
  /** Share of ten votes that makes a frame voiced: Q30. */
  UV_VOTE_MIN,
  /** Units above the noise reference, whole. */
  UV_ENERGY_OFFSET
}
