package com.norv.Brindle;

/**
 * What happened in a stream, and where. Positions are samples of the input; a span is from its first position to one
 * past its last. Each {@link Kind#STARTED} is followed by {@link Kind#ENDED} or {@link Kind#REJECTED}.
 */
public final class VaskStreamEvent {
  /** What happened; its text is the library's name for it, such as "may-have-ended". */
  public enum Kind {
    /** A segment has started. */
    STARTED(1),
    /** It has ended: an utterance. */
    ENDED(2),
    /** What had started was not an utterance. */
    REJECTED(3),
    /** For {@code mayEndAfter} nobody has spoken: the segment is still open, and may end or go on. */
    MAY_HAVE_ENDED(4),
    /** Speech again: the last {@link #MAY_HAVE_ENDED} is withdrawn. */
    WENT_ON(5),
    /** {@code startWithin} has passed without a start. */
    NOBODY_SPOKE(6);

    private static final Kind[] ALL = values();

    private final int number;
    private final String text;

    Kind(int number) {
      this.number = number;
      text = VaskStreamLibrary.kindName(number);
    }

    /**
     * Returns its number in the C interface.
     *
     * @return 1 to 6
     */
    public int number() {
      return number;
    }

    @Override
    public String toString() {
      return text;
    }

    static Kind of(long number) {
      for (Kind kind : ALL) {
        if (kind.number == number) return kind;
      }
      throw new IllegalStateException("libVask.so is newer than the class: event " + number);
    }
  }

  /** Why a segment has ended or was rejected; its text is the library's name for it, such as "too-short". */
  public enum Reason {
    /** Ended: the pause that ends an utterance has passed. */
    BY_SILENCE(1),
    /** Ended: it was long, and unvoiced for long; only with the detector {@link VaskStream.Detector#ENERGY}. */
    BY_LONG_NOISE(2),
    /** Ended: the stream was flushed while it was open. */
    BY_INPUT_END(3),
    /** Ended: it was over {@code maxSamples}, and the next one continues from here. */
    BY_SPLIT(4),
    /** Rejected: too short. */
    TOO_SHORT(11),
    /** Rejected: too little of it is voiced, or its mean probability is too low. */
    TOO_LITTLE_VOICE(12),
    /** Rejected: whistles or beeps; only with the detector {@link VaskStream.Detector#ENERGY}. */
    TONES(13);

    private static final Reason[] ALL = values();

    private final int number;
    private final String text;

    Reason(int number) {
      this.number = number;
      text = VaskStreamLibrary.reasonName(number);
    }

    /**
     * Returns its number in the C interface.
     *
     * @return 1 to 13
     */
    public int number() {
      return number;
    }

    @Override
    public String toString() {
      return text;
    }

    static Reason of(long number) {
      if (number == 0) return null;
      for (Reason reason : ALL) {
        if (reason.number == number) return reason;
      }
      throw new IllegalStateException("libVask.so is newer than the class: reason " + number);
    }
  }

  static final int VALUES = 12;

  /** What happened. */
  public final Kind kind;
  /** Why it has ended or was rejected; null with the other kinds. */
  public final Reason reason;
  /** Number of the segment from 1; rejected ones count too. 0: {@link Kind#NOBODY_SPOKE}. */
  public final int segment;
  /** Whether it continues where the previous segment was split. */
  public final boolean continues;
  /** The detected start; {@link Kind#NOBODY_SPOKE}: where waiting began. */
  public final long start;
  /**
   * One past the detected end; {@link Kind#MAY_HAVE_ENDED}: where speech fell silent; {@link Kind#NOBODY_SPOKE}: {@link
   * #heard}; -1 with the other kinds.
   */
  public final long end;
  /** The first position that is delivered, or would have been. */
  public final long spanStart;
  /** One past the last; -1 but at an end or a rejection. */
  public final long spanEnd;
  /** Samples of the input that had been processed when this was decided. */
  public final long heard;
  /** Voiced frames of 10 ms of the segment, as the detector counts them; 0 but at an end or a rejection. */
  public final int voicedFrames;
  /** The same as a share of the frames from start to end, 0 to 1. */
  public final float voiced;
  /** Mean level of the input from start to end, dB full scale; with the other kinds that of the newest frame. */
  public final float levelDb;

  VaskStreamEvent(long[] values) {
    kind = Kind.of(values[0]);
    reason = Reason.of(values[1]);
    segment = (int) values[2];
    continues = values[3] != 0;
    start = values[4];
    end = values[5];
    spanStart = values[6];
    spanEnd = values[7];
    heard = values[8];
    voicedFrames = (int) values[9];
    voiced = Float.intBitsToFloat((int) values[10]);
    levelDb = Float.intBitsToFloat((int) values[11]);
  }

  /**
   * Describes the event for a log.
   *
   * @return such as "2 ended (silence): 17600 to 40960"
   */
  @Override
  public String toString() {
    return segment + " " + kind + (reason != null ? " (" + reason + ")" : "") + ": " + start
        + (end >= 0 ? " to " + end : "");
  }
}
