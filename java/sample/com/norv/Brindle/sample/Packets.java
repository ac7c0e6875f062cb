package com.norv.Brindle.sample;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.util.Arrays;
import java.util.Locale;

/**
 * An utterance as IMA ADPCM packets with headers, a quarter of the size, as {@code Vask_epd_get_pkt_stream} sends them:
 * what a sender does with samples, and a receiver with packets. Both keep the same state.
 */
final class Packets {
  private static final int HEADER = 8;
  private static final int CODES = 160; // bytes of a packet: 20 ms

  private static final int[] STEPS = {
    7, 8, 9, 10, 11, 12, 13, 14, 16, 17, 19, 21, 23, 25, 28, 31, 34, 37, 41, 45, 50, 55, 60, 66, 73, 80, 88, 97,
    107, 118, 130, 143, 157, 173, 190, 209, 230, 253, 279, 307, 337, 371, 408, 449, 494, 544, 598, 658, 724, 796,
    876, 963, 1060, 1166, 1282, 1411, 1552, 1707, 1878, 2066, 2272, 2499, 2749, 3024, 3327, 3660, 4026, 4428,
    4871, 5358, 5894, 6484, 7132, 7845, 8630, 9493, 10442, 11487, 12635, 13899, 15289, 16818, 18500, 20350, 22385,
    24623, 27086, 29794, 32767
  };
  private static final int[] INDEX_MOVES = {-1, -1, -1, -1, 2, 4, 6, 8};

  private int value;
  private int index;

  private Packets() {}

  /**
   * Encodes one utterance.
   *
   * @param samples at 16 kHz
   * @return packets of 20 ms, each with its header; the last, of type E, is filled up with silence
   */
  static byte[] encode(short[] samples) {
    Packets writer = new Packets();
    ByteArrayOutputStream stream = new ByteArrayOutputStream();
    for (int at = 0; at < samples.length; at += 2 * CODES) {
      short[] piece = Arrays.copyOfRange(samples, at, at + 2 * CODES);
      char type = at + 2 * CODES < samples.length ? 'D' : 'E';
      byte[] header = String.format(Locale.ROOT, "%c %6d", type, CODES).getBytes(StandardCharsets.US_ASCII);
      stream.write(header, 0, header.length);
      for (int i = 0; i < piece.length; i += 2) stream.write(writer.code(piece[i]) << 4 | writer.code(piece[i + 1]));
    }
    return stream.toByteArray();
  }

  /**
   * Decodes the packets of one utterance.
   *
   * @param stream packets with headers, the last of type E
   * @return two samples per byte of code
   */
  static short[] decode(byte[] stream) throws IOException {
    Packets reader = new Packets();
    short[] samples = new short[2 * stream.length];
    int count = 0;
    for (int at = 0; at < stream.length; ) {
      int n = bytesOfPacket(stream, at);
      for (int i = at + HEADER; i < at + HEADER + n; i++) {
        samples[count++] = reader.next(stream[i] >> 4 & 15);
        samples[count++] = reader.next(stream[i] & 15);
      }
      at += HEADER + n;
    }
    return Arrays.copyOf(samples, count);
  }

  private static int bytesOfPacket(byte[] stream, int at) throws IOException {
    if (stream.length - at > HEADER) {
      String header = new String(stream, at, HEADER, StandardCharsets.US_ASCII);
      if (header.matches("[DE]  *[1-9][0-9]*")) {
        int n = Integer.parseInt(header.substring(2).trim());
        if (n <= stream.length - at - HEADER) return n;
      }
    }
    throw new IOException("no whole packet at byte " + at);
  }

  /** The code whose step comes closest from below, as the decoder will see it. */
  private int code(short sample) {
    int left = sample - value;
    int code = left < 0 ? 8 : 0;
    left = Math.abs(left);
    int step = STEPS[index];
    for (int bit = 4; bit > 0; bit >>= 1, step >>= 1) {
      if (left < step) continue;
      code |= bit;
      left -= step;
    }
    next(code);
    return code;
  }

  private short next(int code) {
    int step = STEPS[index];
    int move = step >> 3;
    if ((code & 4) != 0) move += step;
    if ((code & 2) != 0) move += step >> 1;
    if ((code & 1) != 0) move += step >> 2;
    value = Math.max(-32768, Math.min(32767, (code & 8) != 0 ? value - move : value + move));
    index = Math.max(0, Math.min(STEPS.length - 1, index + INDEX_MOVES[code & 7]));
    return (short) value;
  }
}
