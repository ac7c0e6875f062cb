package com.norv.Brindle;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import java.util.Arrays;
import org.junit.Test;

/** Over a library whose memory can be limited: little_memory.cpp. */
public final class VaskWithoutMemoryTest {
  /**
   * Memory that the library may allocate from now on in addition to what it has, in bytes; negative: no limit. Returns
   * what was left.
   */
  private static native int limit(int bytes);

  /** Whether a start with this much memory is refused by the exception and nothing else. */
  private static boolean refuses(int bytes) {
    limit(bytes);
    try {
      assertEquals(1, Vask.Vask_epd_init(".", 1));
      return false;
    } catch (OutOfMemoryError expected) {
      return true;
    } finally {
      limit(-1);
    }
  }

  static {
    Vask.Vask_epd_get_mfc_data(); // loads the library, and with it limit()
  }

  @Test
  public void aStartWithoutMemoryThrowsAndChangesNothing() {
    short[] hiss = new short[800];
    for (int i = 0; i < hiss.length; i++) hiss[i] = (short) (i * i % 41);
    int bytes = 0;
    for (; refuses(bytes); bytes += 20000) assertEquals(-1, Vask.Vask_epd_process_frames(800, hiss));
    assertTrue(bytes + " bytes", bytes > 300000 && bytes < 2000000);
    assertTrue(refuses(1000));
    Vask.Vask_epd_reset();
    assertEquals(0, Vask.Vask_epd_process_frames(800, hiss));
    assertEquals(480, Vask.Vask_epd_get_raw_data(800, hiss));
  }

  @Test
  public void aStreamThatDoesNotOpenLeavesNothingBehind() {
    String model = System.getProperty("vask.model");
    for (VaskStream.Detector detector : VaskStream.Detector.values()) {
      VaskStreamBuilder builder = VaskStream.builder().detector(detector).model(model);
      int bytes = 0;
      for (boolean opens = false; !opens; bytes += 20000) {
        limit(bytes);
        try {
          builder.open().close();
          opens = true;
        } catch (OutOfMemoryError expected) {
          // with less than a stream needs
        } finally {
          assertEquals(bytes, limit(-1));
        }
      }
      assertTrue(detector + ": " + bytes + " bytes", bytes > 100000 && bytes < 2000000);
    }
  }

  @Test
  public void writingAndFlushingWithoutMemoryCanBeRepeated() {
    short[] hiss = new short[80000];
    for (int i = 0; i < hiss.length; i++) hiss[i] = (short) (i * i % 41);
    int[] read = new int[2];
    for (int round = 0; round < 2; round++) {
      try (VaskStream stream = VaskStream.builder().mode(VaskStream.Mode.CONTINUOUS).audio(VaskStream.Audio.RAW)
          .open()) {
        boolean hasThrown = false;
        for (int written = 0; written < hiss.length; ) {
          if (round == 1 && !hasThrown) limit(0);
          try {
            written += stream.write(hiss, written, hiss.length - written);
          } catch (OutOfMemoryError expected) {
            hasThrown = true;
            limit(-1);
          }
        }
        assertEquals(round == 1, hasThrown);
        assertTrue(stream.flush());
        read[round] = Arrays.hashCode(stream.read());
      } finally {
        limit(-1);
      }
    }
    assertEquals(read[0], read[1]);
  }
}
