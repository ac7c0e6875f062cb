package com.norv.Brindle;

/** The generators of tests/replay/replay.txt, whose head defines them: the same samples in every language. */
final class Signals {
  private static final int SYLLABLE = 3200;
  private static final int CONSONANT = 600;
  /** Per vowel and formant. */
  private static final int[][] TURN =
      {{7735, 7294, 4565}, {7890, 6014, 4462}, {8019, 4988, 3009}, {7863, 7585, 4641}, {8008, 7554, 5060}};
  private static final int[] DECAY = {3969, 3923, 3847};

  private final short[] room;
  private long random;

  // Of the voice.
  private int vowel;
  private long period;
  private long wait;
  private long breath;
  private final long[] last = new long[3];
  private final long[] before = new long[3];

  private Signals(short[] room) {
    this.room = room;
  }

  /**
   * Makes a signal.
   *
   * @param words the generator's name and its arguments
   * @param from index of the name
   * @param room the recording
   */
  static short[] make(String[] words, int from, short[] room) {
    int[] args = new int[words.length - from - 1];
    for (int i = 0; i < args.length; i++) args[i] = Integer.parseInt(words[from + 1 + i]);
    return new Signals(room).make(words[from], args);
  }

  private short[] make(String name, int[] args) {
    short[] samples = new short[name.equals("room") ? args[2] : name.equals("voice") ? args[1] : args[0]];
    if (name.equals("noise") || name.equals("voice")) random = args[2];
    long value = 0;
    long phase = 0;
    long spoken = 0;
    for (int i = 0; i < samples.length; i++) {
      switch (name) {
        case "silence":
          break;
        case "constant":
          value = args[1];
          break;
        case "square":
          value = i / args[1] % 2 == 0 ? args[2] : -1 - args[2];
          break;
        case "clicks":
          value = i % args[1] == args[1] - 1 ? args[2] : 0;
          break;
        case "room":
          value = room[(int) (args[1] + i * 16000L / args[0])];
          break;
        case "noise":
          value = noise(args[1]);
          break;
        case "chirp":
          value = wave(phase, args[1]);
          phase = (phase + args[2] + (long) (args[3] - args[2]) * i / samples.length) % 65536;
          break;
        case "voice":
          for (; spoken <= i * 16000L / args[0]; spoken++) value = voiced(spoken);
          break;
        default:
          throw new IllegalArgumentException("there is no generator " + name);
      }
      samples[i] = (short) value;
    }
    return samples;
  }

  private long next() {
    random = random * 16807 % 2147483647;
    return random;
  }

  private long noise(long peak) {
    return next() / 256 % (2 * peak + 1) - peak;
  }

  private static long wave(long phase, long peak) {
    long x = phase % 32768;
    long height = x * (32768 - x) * peak / 268435456;
    return phase < 32768 ? height : -height;
  }

  private long voiced(long j) {
    long t = j % SYLLABLE;
    long v = t - CONSONANT;
    long swell = v * (SYLLABLE - CONSONANT - v);
    long x = 0;
    if (t == 0) {
      vowel = (int) (next() / 256 % TURN.length);
      period = 90 + next() / 256 % 60;
      wait = 0;
    }
    if (v >= 0 && wait > 0) {
      wait--;
    } else if (v >= 0) {
      x = swell;
      wait = period + v / 128 + next() / 256 % 9;
    }
    breath += Math.floorDiv(x - breath, 4L);
    x = breath;
    for (int k = 0; k < DECAY.length; k++) {
      long turn = TURN[vowel][k];
      x = Math.floorDiv((4096 - turn + DECAY[k]) * x + turn * last[k] - DECAY[k] * before[k], 4096L);
      before[k] = last[k];
      last[k] = x;
    }
    x = Math.floorDiv(x, 64L) + noise(v < 0 ? CONSONANT : 12 + swell / 8192);
    return Math.max(-32768, Math.min(32767, x));
  }
}
