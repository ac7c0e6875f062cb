package com.norv.Brindle;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;
import static org.junit.Assume.assumeTrue;

import java.io.ByteArrayOutputStream;
import java.io.File;
import java.io.IOException;
import java.io.OutputStream;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.Random;
import java.util.concurrent.atomic.AtomicInteger;
import org.junit.After;
import org.junit.Before;
import org.junit.Test;

/** The class over the real library: samples and packets, every kind of bad input, and many calls. */
public final class VaskTest {
  private static final int BUFFER = 320;
  private static final int CAPACITY = 160000;

  private short[] recording;
  private File file;

  @Before
  public void load() throws IOException {
    recording = samplesOf(contentOf("vask.recording"), 44);
    file = File.createTempFile("vask", ".raw");
    try (OutputStream out = Files.newOutputStream(file.toPath())) {
      for (int i = 0; i < 10; i++) out.write(new byte[] {(byte) i, (byte) (i % 3)});
    }
  }

  @After
  public void close() {
    Vask.Vask_fclose();
    file.delete();
  }

  private static byte[] contentOf(String property) throws IOException {
    return Files.readAllBytes(Paths.get(System.getProperty(property)));
  }

  private static short[] samplesOf(byte[] bytes, int from) {
    short[] samples = new short[(bytes.length - from) / 2];
    ByteBuffer.wrap(bytes, from, 2 * samples.length).order(ByteOrder.nativeOrder()).asShortBuffer().get(samples);
    return samples;
  }

  /** Amplified, so that many samples are clipped. */
  private short[] bufferAt(int at) {
    short[] buffer = new short[BUFFER];
    for (int i = 0; i < BUFFER; i++) {
      buffer[i] = (short) Math.max(-32768, Math.min(32767, 8 * recording[at + i]));
    }
    return buffer;
  }

  private static void start(int mode) {
    assertEquals(1, Vask.Vask_epd_init(".", mode));
    Vask.Vask_epd_reset();
    Vask.Vask_epd_wrapup();
  }

  /** Leaves `count` samples in the queue. */
  private static void queue(int count) {
    start(1);
    short[] noise = new short[count + 800];
    Random random = new Random(5);
    for (int i = 0; i < noise.length; i++) noise[i] = (short) (random.nextInt() >> 19);
    assertEquals(0, Vask.Vask_epd_process_frames(noise.length, noise));
    int surplus = (count + 800) / 160 * 160 - 320 - count;
    assertEquals(surplus, Vask.Vask_epd_get_raw_data(surplus, new short[surplus]));
  }

  private static int queued() {
    return Vask.Vask_epd_get_raw_data(CAPACITY, new short[CAPACITY]);
  }

  @Test
  public void anUtteranceMatchesThatOfTheCInterface() throws IOException {
    for (boolean packets : new boolean[] {false, true}) {
      ByteArrayOutputStream all = new ByteArrayOutputStream();
      byte[] bytes = new byte[2 * CAPACITY];
      short[] samples = new short[CAPACITY];
      boolean clipped = false;
      boolean ended = false;
      start(2);
      for (int at = 0; !ended; at += BUFFER) {
        short[] buffer = bufferAt(at);
        short[] expected = buffer.clone();
        int result = Vask.Vask_epd_process_frames(BUFFER, buffer);
        ended = result == 1;
        assertTrue("result " + result, ended || result == 0);
        for (int i = 0; i < BUFFER && !ended; i++) {
          clipped |= Math.abs(expected[i]) > 30000;
          expected[i] = (short) Math.max(-30000, Math.min(30000, expected[i]));
        }
        if (!ended) assertArrayEquals("samples from " + at, expected, buffer);
        int count = packets
            ? Vask.Vask_epd_get_pkt_stream(160, bytes, ended ? 1 : 0)
            : 2 * Vask.Vask_epd_get_raw_data(CAPACITY, samples);
        if (!packets) ByteBuffer.wrap(bytes).order(ByteOrder.nativeOrder()).asShortBuffer().put(samples);
        all.write(bytes, 0, count);
      }
      assertTrue(clipped);
      assertTrue("nothing came out", all.size() > 10000);
      assertArrayEquals(contentOf(packets ? "vask.packets" : "vask.samples"), all.toByteArray());
    }
  }

  @Test
  public void onlyProcessedSamplesAreClipped() {
    start(2);
    short[] samples = new short[400];
    for (int i = 0; i < samples.length; i++) samples[i] = (short) (i % 2 == 0 ? 32767 : -32768);
    short[] expected = samples.clone();
    for (int i = 0; i < 320; i++) expected[i] = (short) (i % 2 == 0 ? 30000 : -30000);
    assertEquals(0, Vask.Vask_epd_process_frames(400, samples));
    assertArrayEquals(expected, samples); // the last 80 wait
    assertEquals(-1, Vask.Vask_epd_process_frames(79, samples));
    assertEquals(0, Vask.Vask_epd_process_frames(1, samples));
  }

  @Test
  public void whatDoesNotFitIsRefusedAndKept() {
    short[] expected = new short[1000];
    byte[] packet = new byte[160];
    byte[] stream = new byte[4 * 168];
    queue(1000);
    assertEquals(1000, Vask.Vask_epd_get_raw_data(CAPACITY, expected)); // as many as there are
    queue(1000);
    assertEquals(160, Vask.Vask_epd_get_pkt_data(160, packet, 0));
    assertEquals(680, queued());
    queue(1000);
    assertEquals(3 * 168, Vask.Vask_epd_get_pkt_stream(160, stream, 0));
    assertEquals(40, queued());

    queue(1000);
    short[] shorts = new short[999];
    byte[] bytes = new byte[159];
    byte[] headed = new byte[503];
    for (int i = 0; i < 3; i++) {
      Class<ArrayIndexOutOfBoundsException> tooShort = ArrayIndexOutOfBoundsException.class;
      assertThrows(tooShort, () -> Vask.Vask_epd_get_raw_data(1000, shorts));
      assertThrows(tooShort, () -> Vask.Vask_epd_get_raw_data(Integer.MAX_VALUE, shorts));
      assertThrows(tooShort, () -> Vask.Vask_epd_get_pkt_data(160, bytes, 0));
      assertThrows(tooShort, () -> Vask.Vask_epd_get_pkt_data(160, new byte[0], 1));
      assertThrows(tooShort, () -> Vask.Vask_epd_get_pkt_data(999999, bytes, 1));
      assertThrows(tooShort, () -> Vask.Vask_epd_get_pkt_stream(160, headed, 0));
      assertThrows(tooShort, () -> Vask.Vask_epd_get_pkt_stream(160, new byte[671], 1));
      assertThrows(tooShort, () -> Vask.Vask_epd_process_frames(1000, shorts));
      assertThrows(tooShort, () -> Vask.Vask_epd_process_frames(Integer.MAX_VALUE, shorts));
      assertThrows(tooShort, () -> Vask.Vask_epd_process_frames(-1, shorts));
      assertThrows(tooShort, () -> Vask.Vask_epd_process_frames(Integer.MIN_VALUE, shorts));
      assertThrows(NullPointerException.class, () -> Vask.Vask_epd_get_raw_data(10, null));
      assertThrows(NullPointerException.class, () -> Vask.Vask_epd_get_pkt_data(10, null, 0));
      assertThrows(NullPointerException.class, () -> Vask.Vask_epd_get_pkt_stream(10, null, 1));
      assertEquals(0, Vask.Vask_epd_process_frames(320, null));
      assertEquals(0, Vask.Vask_epd_init(null, 1));
      for (int n : new int[] {0, -1, Integer.MIN_VALUE, 1000000, Integer.MAX_VALUE}) {
        assertEquals(0, Vask.Vask_epd_get_pkt_data(n, bytes, 1));
        assertEquals(0, Vask.Vask_epd_get_pkt_stream(n, bytes, 1));
        if (n < 1) assertEquals(n, Vask.Vask_epd_get_raw_data(n, shorts));
        if (n < 1) assertEquals(n, Vask.Vask_epd_get_raw_data(n, null));
        if (n < 1) assertEquals(0, Vask.Vask_epd_get_pkt_data(n, null, 1));
      }
      assertEquals(0, Vask.Vask_epd_get_pkt_data(501, bytes, 0)); // not enough: the array does not matter
    }
    assertArrayEquals(new short[999], shorts);
    assertArrayEquals(new byte[503], headed);
    short[] after = new short[1000];
    assertEquals(1000, Vask.Vask_epd_get_raw_data(1000, after));
    assertArrayEquals(expected, after);
  }

  @Test
  public void initAcceptsWhatItCanAndRefusesTheRest() {
    char[] letters = new char[4000];
    Arrays.fill(letters, 'k');
    assertEquals(0, Vask.Vask_epd_init(new String(letters), 2));
    assertEquals(-1, Vask.Vask_epd_process_frames(320, new short[320]));
    assertEquals(1, Vask.Vask_epd_init("", 2));
    assertEquals(1, Vask.Vask_epd_init("knowledge \u00e9\u4e2d\ud83d\ude00\0", 2)); // not plain ASCII
    for (int mode : new int[] {0, -1, 5, Integer.MAX_VALUE}) {
      start(mode);
      assertEquals(-1, Vask.Vask_epd_process_frames(320, new short[320]));
    }
    start(2);
    assertEquals(-1, Vask.Vask_epd_process_frames(0, new short[0]));
    assertEquals(1, Vask.Vask_epd_process_frames(200000, new short[200000])); // more than fits
    start(2);
    assertEquals(0, Vask.Vask_epd_set_option(1, Integer.MIN_VALUE));
    start(2); // an unknown device
    Vask.Vask_epd_set_option(1, 2);
  }

  /** Runs both at once, as nearly as two threads can. */
  private static void together(Runnable here, Runnable there) throws InterruptedException {
    AtomicInteger ready = new AtomicInteger();
    Thread other = new Thread(() -> {
      ready.incrementAndGet();
      while (ready.get() < 2) Thread.yield();
      there.run();
    });
    other.start();
    while (ready.get() < 1) Thread.yield();
    ready.incrementAndGet();
    here.run();
    other.join();
  }

  @Test
  public void threadsTakeTurns() throws InterruptedException, IOException {
    short[] second = new short[16000];
    for (int i = 0; i < second.length; i++) second[i] = (short) (i * i % 41);
    start(1);
    for (int round = 0; round < 50; round++) {
      together(() -> Vask.Vask_epd_process_frames(16000, second), Vask::Vask_epd_reset);
      int left = queued(); // everything if the reset came first, else nothing
      assertTrue("round " + round + ": " + left, left == 0 || left == 16000 - 320);
      Vask.Vask_epd_wrapup();
      Vask.Vask_epd_process_frames(800, second.clone());
      assertEquals("round " + round, 480, queued());
      Vask.Vask_epd_wrapup();
    }
    for (int round = 0; round < 3000; round++) {
      assertNotEquals(0, Vask.Vask_fopen(file.getPath()));
      together(Vask::Vask_fclose, Vask::Vask_fclose); // closing it twice would end the virtual machine
    }
  }

  @Test
  public void filesAreReadFromStartToEnd() throws IOException {
    short[] expected = samplesOf(Files.readAllBytes(file.toPath()), 0);
    assertEquals(0, Vask.Vask_fopen(file + ".missing"));
    assertEquals(0, Vask.Vask_fread(1, new short[1]));
    int token = Vask.Vask_fopen(file.getPath());
    assertNotEquals(0, token);
    assertEquals(token, Vask.Vask_fopen(null)); // still open
    short[] out = new short[4];
    Class<ArrayIndexOutOfBoundsException> tooShort = ArrayIndexOutOfBoundsException.class;
    assertThrows(tooShort, () -> Vask.Vask_fread(5, out));
    assertThrows(tooShort, () -> Vask.Vask_fread(Integer.MAX_VALUE, out));
    assertThrows(tooShort, () -> Vask.Vask_fread(1, new short[0]));
    assertThrows(NullPointerException.class, () -> Vask.Vask_fread(1, null));
    assertThrows(NullPointerException.class, () -> Vask.Vask_fread_byte(1, null));
    assertEquals(0, Vask.Vask_fread(0, null));
    assertEquals(0, Vask.Vask_fread(-1, out));
    assertEquals(0, Vask.Vask_fread_byte(Integer.MIN_VALUE, new byte[1]));
    assertEquals(4, Vask.Vask_fread(4, out)); // from the start: the failed calls have read nothing
    assertArrayEquals(Arrays.copyOf(expected, 4), out);
    byte[] bytes = new byte[8];
    assertThrows(tooShort, () -> Vask.Vask_fread_byte(9, bytes));
    assertEquals(8, Vask.Vask_fread_byte(8, bytes));
    assertArrayEquals(Arrays.copyOfRange(expected, 4, 8), samplesOf(bytes, 0));
    assertEquals(2, Vask.Vask_fread(1000, out)); // more than are left: those fit
    assertEquals(expected[9], out[1]);
    assertEquals(0, Vask.Vask_fread(1000, out));
    assertEquals(0, Vask.Vask_fread_byte(1, bytes));
    assertEquals(0, Vask.Vask_fclose());
    assertEquals(0, Vask.Vask_fclose());
    assertEquals(0, Vask.Vask_fread(1, out));
    assertNotEquals(0, Vask.Vask_fopen(file.getParent())); // a folder opens, but there is nothing to read
    assertEquals(0, Vask.Vask_fread_byte(8, bytes));
  }

  @Test
  public void manyCallsNeedNoMoreMemory() throws IOException {
    assumeTrue(Files.exists(Paths.get("/proc/self/status")));
    start(1);
    short[] samples = new short[16000];
    byte[] bytes = new byte[16000];
    short[] none = {};
    long before = 0;
    for (int call = 0; call < 12000; call++) {
      if (call == 2000) before = ResidentMemory.kib();
      Vask.Vask_epd_process_frames(call % 2 == 0 ? 160 : 1, samples);
      if (call % 2 == 0) Vask.Vask_epd_get_raw_data(16000, samples);
      Vask.Vask_epd_get_pkt_data(8000, bytes, 1);
      Vask.Vask_epd_get_pkt_stream(8000, bytes, 1);
      Vask.Vask_epd_process_frames(160, samples);
      try {
        Vask.Vask_epd_get_raw_data(16000, none);
      } catch (ArrayIndexOutOfBoundsException expected) {
        // on every round
      }
      Vask.Vask_fopen(file.getPath());
      Vask.Vask_fread(16000, samples);
      Vask.Vask_fclose();
      Vask.Vask_fopen(file.getPath());
      Vask.Vask_fread_byte(16000, bytes);
      Vask.Vask_fclose();
      if (call % 100 == 0) Vask.Vask_epd_reset();
    }
    long grown = ResidentMemory.kib() - before;
    System.out.println("resident memory: " + before + " KiB, and " + grown + " KiB more after 10000 rounds");
    if (!Boolean.getBoolean("vask.sanitized")) assertTrue(grown + " KiB", grown < 6000); // a leak is 160 MB
  }
}
