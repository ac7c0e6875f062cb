package com.norv.Brindle;

/** The newest frame of a stream, for meters and traces. The detector {@code ENERGY} lags the input by 0.03 s. */
public final class VaskStreamMeasures {
  static final int VALUES = 8;

  /** Samples of the input that have been processed, whole frames of 10 ms. */
  public final long heard;
  /** Position of the frame, or of the learned detector's step of 20 ms, that the values below levelDb belong to; -1:
   * none yet. */
  public final long detectorAt;
  /** Level of the newest frame of the input, dB full scale; -200 for all-zero silence. */
  public final float levelDb;
  /** The detector's log energy, dB above its own silence; 0 with the learned one. */
  public final float energyDb;
  /** The noise floor on the same scale; 0 with the learned one. */
  public final float noiseDb;
  /** Whether this is speech, after onset and hangover. */
  public final boolean speech;
  /** Whether it is voiced, smoothed; with the learned detector, whether speech is more probable than not. */
  public final boolean voiced;
  /** Whether a segment has started and is open. */
  public final boolean open;

  VaskStreamMeasures(long[] values) {
    heard = values[0];
    detectorAt = values[1];
    levelDb = Float.intBitsToFloat((int) values[2]);
    energyDb = Float.intBitsToFloat((int) values[3]);
    noiseDb = Float.intBitsToFloat((int) values[4]);
    speech = values[5] != 0;
    voiced = values[6] != 0;
    open = values[7] != 0;
  }
}
