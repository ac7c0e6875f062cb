package com.norv.Brindle;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;

import org.junit.Test;

/** In a virtual machine of its own, where nothing has been initialised. */
public final class VaskBeforeInitTest {
  @Test
  public void everyMethodCanBeCalledBeforeInit() {
    short[] samples = new short[320];
    byte[] bytes = new byte[200];
    assertEquals(-1, Vask.Vask_epd_process_frames(320, samples));
    assertEquals(0, Vask.Vask_epd_get_raw_data(320, samples));
    assertEquals(0, Vask.Vask_epd_get_pkt_data(100, bytes, 0));
    assertEquals(100, Vask.Vask_epd_get_pkt_data(100, bytes, 1));
    assertEquals(0, Vask.Vask_epd_get_pkt_stream(100, bytes, 0));
    assertEquals(108, Vask.Vask_epd_get_pkt_stream(100, bytes, 1));
    assertEquals(1, Vask.Vask_epd_wrapup());
    Vask.Vask_epd_reset();
    assertEquals(0, Vask.Vask_epd_get_mfc_data());
    assertEquals(0, Vask.Vask_epd_set_option(1, 2));
    assertEquals(0, Vask.Vask_fread(10, samples));
    assertEquals(0, Vask.Vask_fread_byte(10, bytes));
    assertEquals(0, Vask.Vask_fread(10, null));
    assertEquals(0, Vask.Vask_fclose());
    assertEquals(0, Vask.Vask_fopen(null));
    assertEquals(0, Vask.Vask_epd_init(null, 2));
    assertEquals(-1, Vask.Vask_epd_process_frames(320, samples));
    assertArrayEquals(new short[320], samples);
  }
}
