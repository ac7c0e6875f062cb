package com.norv.Brindle;

/**
 * The options of a stream, which begin with those of {@link VaskStream#builder}. Each method sets one of them, or some,
 * and returns this object; a value that is out of its range is refused by {@link #open}.
 *
 * <p>Lengths in samples are at 16 kHz, whatever the rates of the stream are.
 */
public final class VaskStreamBuilder {
  // Places in the order of the C record.
  private static final int DETECTOR = 0;
  private static final int MODE = 1;
  private static final int AUDIO = 2;
  private static final int PROFILE = 3;
  private static final int PAD_START = 20;
  private static final int PAD_END = 21;
  private static final int MIN_SAMPLES = 22;
  private static final int MAX_SAMPLES = 23;
  private static final int MIN_VOICED_FRAMES = 24;
  private static final int MAX_TONE_PERCENT = 25;
  private static final int TONE_TONALITY = 26;
  private static final int QUEUE_SAMPLES = 27;
  private static final int OPEN_PROBABILITY = 28;
  private static final int OPEN = 29;
  private static final int OPEN_LOOK_BACK = 30;
  private static final int START_PROBABILITY = 31;
  private static final int CLOSE_PROBABILITY = 32;
  private static final int PAUSE = 33;
  private static final int CLOSE_LOOK_BACK = 34;
  private static final int SHORTEST = 35;
  private static final int MEAN_PROBABILITY = 36;
  private static final int MARGIN_START = 37;
  private static final int MARGIN_END = 38;
  private static final int LISTENING_FLOOR_DB = 39;
  private static final int LISTENING_MIX = 40;
  private static final int INPUT_RATE = 41;
  private static final int AUDIO_RATE = 42;
  private static final int MAY_END_AFTER = 43;
  private static final int START_WITHIN = 44;
  private static final int VALUES = 45;

  private final double[] values = new double[VALUES];
  private String model;

  VaskStreamBuilder() {
    VaskStreamLibrary.defaults(values);
  }

  /**
   * Opens a stream with these options. The builder can be used again.
   *
   * @return the stream
   * @throws IllegalArgumentException if an option is out of its range; the message names it and says what it may be
   * @throws OutOfMemoryError if there is no memory for the stream, 0.2 to 0.9 MB
   */
  public VaskStream open() {
    return new VaskStream(VaskStreamLibrary.open(values, model));
  }

  /**
   * Chooses the detector.
   *
   * @param detector {@link VaskStream.Detector#ENERGY} by default
   * @return this builder
   */
  public VaskStreamBuilder detector(VaskStream.Detector detector) {
    return set(DETECTOR, detector.ordinal());
  }

  /**
   * Chooses what is delivered.
   *
   * @param mode {@link VaskStream.Mode#UTTERANCES} by default
   * @return this builder
   */
  public VaskStreamBuilder mode(VaskStream.Mode mode) {
    return set(MODE, mode.number());
  }

  /**
   * Chooses the audio.
   *
   * @param audio {@link VaskStream.Audio#CLEAN} by default
   * @return this builder
   */
  public VaskStreamBuilder audio(VaskStream.Audio audio) {
    return set(AUDIO, audio.ordinal());
  }

  /**
   * Sets the rate of what is written.
   *
   * @param rate Hz: 8000, 11025, 12000, 16000 (the default), 22050, 24000, 32000, 44100 or 48000
   * @return this builder
   */
  public VaskStreamBuilder inputRate(int rate) {
    return set(INPUT_RATE, rate);
  }

  /**
   * Sets the rate of what is read.
   *
   * @param rate Hz, one of those of {@link #inputRate}; 16000 by default
   * @return this builder
   */
  public VaskStreamBuilder audioRate(int rate) {
    return set(AUDIO_RATE, rate);
  }

  /**
   * Bounds the audio that waits to be read.
   *
   * @param samples the most; 0: 10 minutes
   * @return this builder
   */
  public VaskStreamBuilder queueSamples(int samples) {
    return set(QUEUE_SAMPLES, samples);
  }

  /**
   * Splits longer utterances where their last 2 s are quietest.
   *
   * @param samples 24000 or more; 0: no limit
   * @return this builder
   */
  public VaskStreamBuilder maxSamples(int samples) {
    return set(MAX_SAMPLES, samples);
  }

  /**
   * Asks for {@link VaskStreamEvent.Kind#MAY_HAVE_ENDED} and {@link VaskStreamEvent.Kind#WENT_ON}.
   *
   * @param seconds without speech: 0.02 to 10, shorter than the pause that ends an utterance; 0: none
   * @return this builder
   */
  public VaskStreamBuilder mayEndAfter(float seconds) {
    return set(MAY_END_AFTER, seconds);
  }

  /**
   * Asks for {@link VaskStreamEvent.Kind#NOBODY_SPOKE}.
   *
   * @param seconds from the opening or the end of a segment: 0.1 to 3600; 0: none
   * @return this builder
   */
  public VaskStreamBuilder startWithin(float seconds) {
    return set(START_WITHIN, seconds);
  }

  // For the learned detector and its audio.

  /**
   * Reads the learned detector's model from a file instead of the built-in one.
   *
   * @param path its name; null: the built-in one. {@link #open} refuses a file that is not a model
   * @return this builder
   */
  public VaskStreamBuilder model(String path) {
    model = path;
    return this;
  }

  /**
   * Sets how probable speech must be for an utterance to start.
   *
   * @param probability 0 to 1
   * @return this builder
   */
  public VaskStreamBuilder openProbability(float probability) {
    return set(OPEN_PROBABILITY, probability);
  }

  /**
   * Sets for how long it must be so probable.
   *
   * @param seconds 0.02 to 1
   * @return this builder
   */
  public VaskStreamBuilder open(float seconds) {
    return set(OPEN, seconds);
  }

  /**
   * Sets how long afterwards a start is judged.
   *
   * @param seconds 0, 0.1 or 0.2
   * @return this builder
   */
  public VaskStreamBuilder openLookBack(float seconds) {
    return set(OPEN_LOOK_BACK, seconds);
  }

  /**
   * Moves the start back by up to 0.5 s, as far as speech is so probable.
   *
   * @param probability 0 to 1
   * @return this builder
   */
  public VaskStreamBuilder startProbability(float probability) {
    return set(START_PROBABILITY, probability);
  }

  /**
   * Sets how improbable speech must be for an utterance to end.
   *
   * @param probability 0 to 1, below that of the start
   * @return this builder
   */
  public VaskStreamBuilder closeProbability(float probability) {
    return set(CLOSE_PROBABILITY, probability);
  }

  /**
   * Sets for how long it must be so improbable: the pause that ends an utterance.
   *
   * @param seconds 0.02 to 10
   * @return this builder
   */
  public VaskStreamBuilder pause(float seconds) {
    return set(PAUSE, seconds);
  }

  /**
   * Sets how long afterwards an end is judged.
   *
   * @param seconds 0, 0.1, 0.2, or 0.4, by which pauses under 0.35 s count as speech
   * @return this builder
   */
  public VaskStreamBuilder closeLookBack(float seconds) {
    return set(CLOSE_LOOK_BACK, seconds);
  }

  /**
   * Rejects what is shorter.
   *
   * @param seconds 0 to 10
   * @return this builder
   */
  public VaskStreamBuilder shortest(float seconds) {
    return set(SHORTEST, seconds);
  }

  /**
   * Rejects what is less probable on average.
   *
   * @param probability 0 to 1
   * @return this builder
   */
  public VaskStreamBuilder meanProbability(float probability) {
    return set(MEAN_PROBABILITY, probability);
  }

  /**
   * Delivers from this long before the start.
   *
   * @param seconds 0 to 10
   * @return this builder
   */
  public VaskStreamBuilder marginStart(float seconds) {
    return set(MARGIN_START, seconds);
  }

  /**
   * Delivers until this long after the end.
   *
   * @param seconds 0 to 10
   * @return this builder
   */
  public VaskStreamBuilder marginEnd(float seconds) {
    return set(MARGIN_END, seconds);
  }

  /**
   * Bounds how much of any part of the sound {@link VaskStream.Audio#LISTENING} cuts.
   *
   * @param db dB: -60 to 0
   * @return this builder
   */
  public VaskStreamBuilder listeningFloorDb(float db) {
    return set(LISTENING_FLOOR_DB, db);
  }

  /**
   * Sets how much of what {@link VaskStream.Audio#LISTENING} delivers is filtered; the rest is the input.
   *
   * @param share 0 to 1
   * @return this builder
   */
  public VaskStreamBuilder listeningMix(float share) {
    return set(LISTENING_MIX, share);
  }

  // For the detector ENERGY.

  /**
   * Adapts the detector ENERGY to noisy rooms: a shorter hangover, a lower threshold, padding of 0.10 s and 0.25 s, and
   * rejection of short, unvoiced and tonal segments. Other options are kept.
   *
   * @return this builder
   */
  public VaskStreamBuilder robust() {
    VaskStreamLibrary.robust(values);
    return this;
  }

  /**
   * Fills in the built-in profile of a device.
   *
   * @param device as in {@link Vask#Vask_epd_set_option}; an unknown one counts as device 2
   * @param os its operating system
   * @return this builder
   */
  public VaskStreamBuilder device(int device, int os) {
    VaskStreamLibrary.profile(device, os, values);
    return this;
  }

  /**
   * Sets one value of the profile.
   *
   * @param field which
   * @param value as the field says
   * @return this builder
   */
  public VaskStreamBuilder profile(VaskStreamProfile field, int value) {
    return set(PROFILE + field.ordinal(), value);
  }

  /**
   * Delivers from this long before the detected start.
   *
   * @param samples 0 or more; -1: from 0.35 s before it
   * @return this builder
   */
  public VaskStreamBuilder padStart(int samples) {
    return set(PAD_START, samples);
  }

  /**
   * Delivers until this long after the detected end.
   *
   * @param samples 0 or more; -1: all that the hangover covers
   * @return this builder
   */
  public VaskStreamBuilder padEnd(int samples) {
    return set(PAD_END, samples);
  }

  /**
   * Rejects utterances that are shorter from start to end.
   *
   * @param samples 0: no limit
   * @return this builder
   */
  public VaskStreamBuilder minSamples(int samples) {
    return set(MIN_SAMPLES, samples);
  }

  /**
   * Rejects utterances with fewer voiced frames.
   *
   * @param frames of 10 ms; 0: no limit
   * @return this builder
   */
  public VaskStreamBuilder minVoicedFrames(int frames) {
    return set(MIN_VOICED_FRAMES, frames);
  }

  /**
   * Rejects utterances with more tones among their voiced frames.
   *
   * @param percent 0 to 100: no limit
   * @return this builder
   */
  public VaskStreamBuilder maxTonePercent(int percent) {
    return set(MAX_TONE_PERCENT, percent);
  }

  /**
   * Sets from which tonality a frame is a tone.
   *
   * @param tonality Q16
   * @return this builder
   */
  public VaskStreamBuilder toneTonality(int tonality) {
    return set(TONE_TONALITY, tonality);
  }

  private VaskStreamBuilder set(int place, double value) {
    values[place] = value;
    return this;
  }
}
