package com.norv.Brindle;

/**
 * What the learned detector makes of the newest step of 20 ms and of those before it: probabilities, 0 to 1. The more
 * it knows of what follows, the surer it is.
 */
public final class VaskStreamHearing {
  static final int VALUES = 7;

  /** Position of the newest step; -1: none yet, and all probabilities are 0. */
  public final long at;
  /** Speech in that step. */
  public final float speech;
  /** Speech in the step 0.1 s before it. */
  public final float speech100msAgo;
  /** Speech in the step 0.2 s before it. */
  public final float speech200msAgo;
  /** The step 0.4 s before it is in an utterance: pauses under 0.35 s are speech. */
  public final float utterance;
  /** Music in the step 0.2 s before it. */
  public final float music;
  /** With {@link VaskStream.Audio#LISTENING}: what the bands near 8 kHz were multiplied by; 1 in other streams. */
  public final float highGain;

  VaskStreamHearing(long[] values) {
    at = values[0];
    speech = Float.intBitsToFloat((int) values[1]);
    speech100msAgo = Float.intBitsToFloat((int) values[2]);
    speech200msAgo = Float.intBitsToFloat((int) values[3]);
    utterance = Float.intBitsToFloat((int) values[4]);
    music = Float.intBitsToFloat((int) values[5]);
    highGain = Float.intBitsToFloat((int) values[6]);
  }
}
