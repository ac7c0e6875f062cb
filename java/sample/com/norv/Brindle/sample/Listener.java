package com.norv.Brindle.sample;

import com.norv.Brindle.VaskStream;
import com.norv.Brindle.VaskStreamEvent;
import java.io.IOException;
import java.io.InputStream;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;

/** Feeds sound to a stream as it arrives, 20 ms at a time, and collects the utterances. */
final class Listener {
  private final int rate;
  private final List<short[]> utterances = new ArrayList<>();

  /**
   * Prepares to listen.
   *
   * @param rate that of the sound, Hz
   */
  Listener(int rate) {
    this.rate = rate;
  }

  /**
   * Listens until the sound ends.
   *
   * @param sound 16-bit samples, low byte first
   * @return the utterances, noise-reduced, at 16 kHz
   */
  List<short[]> listen(InputStream sound) throws IOException {
    short[] samples = new short[rate / 50];
    byte[] bytes = new byte[2 * samples.length];
    try (VaskStream stream = VaskStream.builder().detector(VaskStream.Detector.LEARNED).inputRate(rate).open()) {
      for (int count; (count = read(sound, bytes)) > 0; ) {
        ByteBuffer.wrap(bytes).order(ByteOrder.LITTLE_ENDIAN).asShortBuffer().get(samples);
        stream.write(samples, 0, count);
        for (VaskStreamEvent event : stream) take(event, stream);
      }
      stream.flush(); // the last utterance may still be open
      for (VaskStreamEvent event : stream) take(event, stream);
    }
    return utterances;
  }

  private void take(VaskStreamEvent event, VaskStream stream) {
    switch (event.kind) {
      case STARTED:
        print("speech from %.2f s\n", seconds(event.start));
        break;
      case ENDED:
        utterances.add(stream.read());
        print("       to   %.2f s: utterance %d, %.0f %% voiced\n", seconds(event.end), utterances.size(),
            100 * event.voiced);
        break;
      default:
        print("       that was only a noise: %s\n", event.reason);
    }
  }

  private double seconds(long position) {
    return position / (double) rate;
  }

  /** Fills the array as far as the sound goes; returns how many samples there are. */
  private static int read(InputStream sound, byte[] bytes) throws IOException {
    int at = 0;
    for (int n; at < bytes.length && (n = sound.read(bytes, at, bytes.length - at)) > 0; ) at += n;
    return at / 2;
  }

  static void print(String form, Object... values) {
    System.out.printf(Locale.ROOT, form, values);
    System.out.flush();
  }
}
