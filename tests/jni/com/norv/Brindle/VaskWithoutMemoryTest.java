package com.norv.Brindle;

import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertTrue;

import org.junit.Test;

/** Over a library whose storage can be limited: little_memory.cpp. */
public final class VaskWithoutMemoryTest {
  /** Storage that the library may have from now on beside what it has, in bytes; negative: any. */
  private static native void limit(int bytes);

  @Test
  public void aStartWithoutMemoryThrowsAndChangesNothing() {
    short[] hiss = new short[800];
    for (int i = 0; i < hiss.length; i++) hiss[i] = (short) (i * i % 41);
    assertEquals(1, Vask.Vask_epd_init(".", 1));
    int refused = 0;
    for (int bytes = 0; ; bytes += 20000) {
      limit(bytes);
      try {
        assertEquals(1, Vask.Vask_epd_init(".", 2));
        break;
      } catch (OutOfMemoryError expected) {
        refused++;
      } finally {
        limit(-1);
      }
      Vask.Vask_epd_reset();
      Vask.Vask_epd_wrapup();
      assertEquals(bytes + " bytes", 0, Vask.Vask_epd_process_frames(800, hiss));
      assertEquals(bytes + " bytes", 480, Vask.Vask_epd_get_raw_data(800, hiss));
    }
    assertTrue(refused + " refusals", refused > 20 && refused < 100);
  }
}
