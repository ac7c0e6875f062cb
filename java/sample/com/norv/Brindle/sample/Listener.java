package com.norv.Brindle.sample;

import com.norv.Brindle.Vask;
import java.io.IOException;
import java.io.InputStream;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;

/** Feeds sound to the front end as it arrives, 20 ms at a time, and collects the utterances. */
final class Listener {
  static final int RATE = 16000;

  private static final int FRAME = 160;
  private static final int BUFFER = 2 * FRAME;
  /** Frames by which detecting a start is delayed: 2 of noise reduction, 9 of onset, 3 of smoothing. */
  private static final int START_DELAY = 14;
  /** The same for an end: 2 frames, 100 of hangover, 3 of smoothing. */
  private static final int END_DELAY = 105;
  /** Buffers of silence after the sound, so that the last utterance ends. */
  private static final int TAIL = 150;
  /** Bytes per packet: 20 ms. */
  private static final int PACKET = BUFFER / 2;
  /** Samples that the front end holds. */
  private static final int CAPACITY = 160000;

  /** An utterance: the buffers in which it began and ended, and what the front end returned for it. */
  static final class Utterance {
    final int first;
    int last;
    short[] samples = {};
    byte[] packets = {};

    Utterance(int first) {
      this.first = first;
    }
  }

  private final List<short[]> buffers = new ArrayList<>();
  private final List<Utterance> utterances = new ArrayList<>();
  private int spoken;

  /**
   * Processes the sound twice: as it arrives, taking samples, then from a copy of it, taking packets.
   *
   * @param sound 16-bit samples, low byte first; read to its end
   * @return the utterances
   */
  List<Utterance> listen(InputStream sound) throws IOException {
    start();
    Utterance open = null;
    for (int left = TAIL; left > 0; ) {
      short[] buffer = new short[BUFFER];
      if (!read(sound, buffer)) left--;
      buffers.add(buffer.clone()); // the front end clips the samples in place
      open = feedForSamples(buffer, open);
    }

    start();
    int next = 0;
    for (int t = 0; t < buffers.size(); t++) {
      Vask.Vask_epd_process_frames(BUFFER, buffers.get(t));
      Utterance utterance = next < utterances.size() ? utterances.get(next) : null;
      if (utterance != null && t == utterance.last) {
        byte[] stream = new byte[CAPACITY];
        utterance.packets = Arrays.copyOf(stream, Vask.Vask_epd_get_pkt_stream(PACKET, stream, 1));
        next++;
      } else if (utterance != null && t >= utterance.first) {
        continue;
      }
      Vask.Vask_epd_reset();
    }
    utterances.removeIf(utterance -> utterance.samples.length == 0);
    return utterances;
  }

  private static void start() {
    if (Vask.Vask_epd_init(".", 2) != 1) throw new IllegalStateException("the front end does not start");
    Vask.Vask_epd_reset();
    Vask.Vask_epd_wrapup();
  }

  /** Returns the utterance that is open afterwards, or null. */
  private Utterance feedForSamples(short[] buffer, Utterance open) {
    int now = buffers.size() - 1;
    boolean ended = Vask.Vask_epd_process_frames(BUFFER, buffer) == 1;
    if (open == null) {
      // The first sample shows that an utterance has begun. The others stay queued until its end: if it turns out
      // not to be speech they are gone by then, and there was no utterance.
      short[] first = new short[1];
      if (Vask.Vask_epd_get_raw_data(1, first) == 1) {
        open = new Utterance(now);
        open.samples = first;
        print("speech from %.2f s\n", seconds(now, START_DELAY));
      }
    }
    if (open != null && !ended) return open;
    if (open != null) {
      short[] rest = new short[CAPACITY];
      int count = Vask.Vask_epd_get_raw_data(CAPACITY, rest);
      if (count > 0) {
        short[] all = Arrays.copyOf(open.samples, 1 + count);
        System.arraycopy(rest, 0, all, 1, count);
        open.samples = all;
        print("       to   %.2f s: utterance %d\n", seconds(now, END_DELAY), ++spoken);
      } else {
        open.samples = new short[0];
        print("       that was only a noise\n");
      }
      open.last = now;
      utterances.add(open);
    }
    // Nothing the front end holds is needed any more; after the reset it has room for another 10 s.
    Vask.Vask_epd_reset();
    return null;
  }

  private static double seconds(int buffer, int delay) {
    return Math.max(0, (buffer + 1) * 2 - delay) * FRAME / (double) RATE;
  }

  /** Fills the buffer, with silence after the end of the sound; false when nothing is left. */
  private static boolean read(InputStream sound, short[] buffer) throws IOException {
    byte[] bytes = new byte[2 * buffer.length];
    int at = 0;
    for (int n; at < bytes.length && (n = sound.read(bytes, at, bytes.length - at)) > 0; ) at += n;
    ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).asShortBuffer().get(buffer);
    return at > 0;
  }

  static void print(String form, Object... values) {
    System.out.printf(Locale.ROOT, form, values);
    System.out.flush();
  }
}
