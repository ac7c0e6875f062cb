package com.norv.Brindle;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import org.junit.Test;

/** Over a library whose memory can be limited: little_memory.cpp. */
public final class VaskWithoutMemoryTest {
  /** Memory that the library may allocate from now on in addition to what it has, in bytes; negative: no limit. */
  private static native void limit(int bytes);

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
}
