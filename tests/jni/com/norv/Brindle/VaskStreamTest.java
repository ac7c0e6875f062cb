package com.norv.Brindle;

import static org.junit.Assert.assertArrayEquals;
import static org.junit.Assert.assertEquals;
import static org.junit.Assert.assertFalse;
import static org.junit.Assert.assertNotEquals;
import static org.junit.Assert.assertNull;
import static org.junit.Assert.assertThrows;
import static org.junit.Assert.assertTrue;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.ReadOnlyBufferException;
import java.nio.ShortBuffer;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.NoSuchElementException;
import org.junit.Test;
import org.junit.function.ThrowingRunnable;

/** Streams over the real library: every way in and out, bad input, and life. The replay compares the bits. */
public final class VaskStreamTest {
  private static final ByteOrder OTHER_ORDER =
      ByteOrder.nativeOrder() == ByteOrder.BIG_ENDIAN ? ByteOrder.LITTLE_ENDIAN : ByteOrder.BIG_ENDIAN;
  private static final Class<IllegalArgumentException> BAD = IllegalArgumentException.class;

  private final short[] recording = recording();

  private static short[] recording() {
    try {
      byte[] bytes = Files.readAllBytes(Paths.get(System.getProperty("vask.recording")));
      short[] samples = new short[(bytes.length - 44) / 2];
      ByteBuffer.wrap(bytes, 44, 2 * samples.length).order(ByteOrder.LITTLE_ENDIAN).asShortBuffer().get(samples);
      return samples;
    } catch (IOException e) {
      throw new IllegalStateException(e);
    }
  }

  private static VaskStreamBuilder learned() {
    return VaskStream.builder().detector(VaskStream.Detector.LEARNED);
  }

  private static ByteBuffer direct(int bytes) {
    return ByteBuffer.allocateDirect(bytes).order(ByteOrder.nativeOrder());
  }

  // --- options

  /** Each message begins with the option's name in C, so an option that lands in another one's place shows. */
  @Test
  public void everyOptionThatHasARangeIsRefusedOutsideIt() {
    Object[][] cases = {
      {"audio", VaskStream.builder().audio(VaskStream.Audio.LISTENING)},
      {"hangover_frames", VaskStream.builder().profile(VaskStreamProfile.HANGOVER_FRAMES, 3001)},
      {"sample_shift", VaskStream.builder().profile(VaskStreamProfile.SAMPLE_SHIFT, 16)},
      {"energy_shift", VaskStream.builder().profile(VaskStreamProfile.ENERGY_SHIFT, -1)},
      {"pad_start", VaskStream.builder().padStart(-2)},
      {"pad_end", VaskStream.builder().padEnd(Integer.MAX_VALUE)},
      {"min_samples", VaskStream.builder().minSamples(-1)},
      {"max_samples", VaskStream.builder().maxSamples(23999)},
      {"min_voiced_frames", VaskStream.builder().minVoicedFrames(-1)},
      {"max_tone_percent", VaskStream.builder().maxTonePercent(101)},
      {"queue_samples", VaskStream.builder().queueSamples(1)},
      {"open_probability", learned().openProbability(1.1f)},
      {"open", learned().open(0)},
      {"open_look_back", learned().openLookBack(0.4f)},
      {"start_probability", learned().startProbability(-1)},
      {"close_probability", learned().closeProbability(2)},
      {"pause", learned().pause(Float.NaN)},
      {"close_look_back", learned().closeLookBack(0.3f)},
      {"shortest", learned().shortest(-1)},
      {"mean_probability", learned().meanProbability(2)},
      {"margin_start", learned().marginStart(11)},
      {"margin_end", learned().marginEnd(-1)},
      {"listening_floor_db", learned().audio(VaskStream.Audio.LISTENING).listeningFloorDb(1)},
      {"listening_mix", learned().audio(VaskStream.Audio.LISTENING).listeningMix(1.5f)},
      {"input_rate", learned().inputRate(44000)},
      {"audio_rate", VaskStream.builder().audioRate(96000)},
      {"may_end_after", learned().mayEndAfter(11)},
      {"start_within", VaskStream.builder().startWithin(0.05f)},
      {"model: /nowhere cannot be read:", learned().model("/nowhere")},
      {"model: " + System.getProperty("vask.recording") + " is not", learned().model(System.getProperty(
          "vask.recording"))},
    };
    for (Object[] c : cases) {
      String message = assertThrows(BAD, () -> ((VaskStreamBuilder) c[1]).open()).getMessage();
      assertTrue(c[0] + ": " + message, message.startsWith(c[0] + " "));
    }
    assertThrows(NullPointerException.class, () -> VaskStream.builder().detector(null));
    learned().model(null).open().close();
  }

  @Test
  public void presetsKeepTheOtherOptions() {
    VaskStreamBuilder builder = VaskStream.builder().maxSamples(-1).robust().device(1, 1);
    String message = assertThrows(BAD, builder::open).getMessage();
    assertTrue(message, message.startsWith("max_samples"));
  }

  // --- samples in and out

  /** After the first sentence; the ways of writing are those of the buffers. */
  private VaskStream afterTheFirstSentence(boolean fromBuffers) {
    VaskStream stream = learned().open();
    if (fromBuffers) {
      ShortBuffer heap = ShortBuffer.wrap(recording, 0, 40000);
      ShortBuffer shorts = direct(60002).asShortBuffer();
      ((ShortBuffer) shorts.position(1)).put(recording, 40000, 30000).position(1);
      ByteBuffer bytes = direct(20100);
      ((ByteBuffer) bytes.position(100)).asShortBuffer().put(recording, 70000, 10000);
      assertEquals(40000, stream.write(heap));
      assertEquals(30000, stream.write(shorts));
      assertEquals(10000, stream.write(bytes));
      assertEquals(0, heap.remaining() + shorts.remaining() + bytes.remaining());
    } else {
      assertEquals(80000, stream.write(recording, 0, 80000));
    }
    assertEquals(VaskStreamEvent.Kind.STARTED, stream.next().kind);
    assertEquals(VaskStreamEvent.Kind.ENDED, stream.next().kind);
    return stream;
  }

  @Test
  public void arraysAndBuffersHoldTheSame() {
    short[] whole;
    try (VaskStream stream = afterTheFirstSentence(false)) {
      assertTrue(stream.available() > 8000);
      whole = stream.read();
      assertEquals(0, stream.read(whole));
    }
    try (VaskStream stream = afterTheFirstSentence(true)) {
      assertEquals(whole.length, stream.available());
      short[] taken = new short[3000];
      assertEquals(900, stream.read(taken, 100, 900));
      ShortBuffer heap = ShortBuffer.wrap(taken, 500, 2500).slice();
      assertEquals(500, stream.read((ShortBuffer) heap.position(500).limit(1000)));
      ByteBuffer bytes = direct(3000);
      assertEquals(1000, stream.read((ByteBuffer) bytes.position(1000)));
      ShortBuffer shorts = direct(1202).asShortBuffer();
      assertEquals(600, stream.read((ShortBuffer) shorts.position(1)));
      assertEquals(Arrays.asList(1000, 3000, 601), Arrays.asList(heap.position(), bytes.position(), shorts.position()));
      ((ByteBuffer) bytes.position(1000)).asShortBuffer().get(taken, 1500, 1000);
      ((ShortBuffer) shorts.position(1)).get(taken, 2500, 500);
      assertArrayEquals(new short[100], Arrays.copyOf(taken, 100)); // not touched
      assertArrayEquals(Arrays.copyOf(whole, 2900), Arrays.copyOfRange(taken, 100, 3000));
      assertEquals(whole.length - 3000, stream.available());
    }
  }

  @Test
  public void whatIsNotWhollyInsideIsRefusedBeforeAnythingIsTaken() {
    VaskStream stream = afterTheFirstSentence(false);
    int available = stream.available();
    short[] samples = new short[10];
    ByteBuffer odd = direct(12);
    odd.position(1);
    Class<IndexOutOfBoundsException> outside = IndexOutOfBoundsException.class;
    for (int[] range : new int[][] {{-1, 2}, {0, 11}, {10, 1}, {11, 0}, {5, Integer.MAX_VALUE}, {5, -1}}) {
      assertThrows(outside, () -> stream.write(samples, range[0], range[1]));
      assertThrows(outside, () -> stream.read(samples, range[0], range[1]));
    }
    ThrowingRunnable[] cases = {
      () -> stream.write(ByteBuffer.allocate(20)),
      () -> stream.read(ByteBuffer.allocate(20)),
      () -> stream.write(odd), // 11 bytes
      () -> stream.read((ByteBuffer) odd.duplicate().limit(11)), // 10 bytes from an odd address
      () -> stream.write((ByteBuffer) odd.duplicate().limit(11)),
      () -> stream.write(ByteBuffer.allocateDirect(20).order(OTHER_ORDER).asShortBuffer()),
      () -> stream.read(ByteBuffer.allocateDirect(20).order(OTHER_ORDER).asShortBuffer()),
      () -> stream.write(ShortBuffer.wrap(samples).asReadOnlyBuffer()),
      () -> stream.write(ByteBuffer.allocate(20).asShortBuffer()),
    };
    for (int i = 0; i < cases.length; i++) assertThrows("case " + i, BAD, cases[i]);
    Class<ReadOnlyBufferException> readOnly = ReadOnlyBufferException.class;
    assertThrows(readOnly, () -> stream.read(direct(20).asReadOnlyBuffer()));
    assertThrows(readOnly, () -> stream.read(ShortBuffer.wrap(samples).asReadOnlyBuffer()));
    assertThrows(BAD, () -> stream.setPause(10.1f));
    assertThrows(NullPointerException.class, () -> stream.write((short[]) null));
    assertThrows(NullPointerException.class, () -> stream.read((ByteBuffer) null));
    assertEquals(1, odd.position());
    assertEquals(available, stream.available());
    assertEquals(80000, stream.measures().heard);
    assertEquals(5, stream.write(direct(10).asReadOnlyBuffer())); // which the library only reads
    stream.close();
  }

  /** A queue of 3.5 s: writing stops, nothing is lost, and flushing says when all is out. */
  @Test
  public void atTheBoundWritingAndFlushingTakeLess() {
    short[] samples = new short[160000];
    for (int i = 0; i < samples.length; i++) samples[i] = (short) (i * i % 41);
    int written = 0;
    int read = 0;
    boolean wasFull = false;
    boolean wasOver = true;
    try (VaskStream stream = learned().mode(VaskStream.Mode.CONTINUOUS).audio(VaskStream.Audio.RAW)
        .queueSamples(56000).open()) {
      while (written < samples.length) {
        int taken = stream.write(samples, written, samples.length - written);
        wasFull |= taken == 0;
        written += taken;
        if (taken == 0) read += stream.read(new short[160]);
      }
      while (!stream.flush()) {
        wasOver = false;
        read += stream.read().length;
      }
      read += stream.read().length;
      assertTrue(wasFull && !wasOver);
      assertEquals(samples.length, read);
      assertThrows(IllegalStateException.class, () -> stream.write(samples));
      stream.reset();
      assertEquals(160, stream.write(samples, 0, 160));
    }
  }

  // --- events

  @Test
  public void namesAreThoseOfTheLibrary() {
    assertEquals("[started, ended, rejected, may-have-ended, went-on, nobody-spoke]",
        Arrays.toString(VaskStreamEvent.Kind.values()));
    assertEquals("[silence, long-noise, input-end, split, too-short, too-little-voice, tones]",
        Arrays.toString(VaskStreamEvent.Reason.values()));
    assertTrue(VaskStream.version(), VaskStream.version().matches("[0-9]+\\.[0-9]+\\.[0-9]+"));
    try (VaskStream stream = learned().open()) {
      stream.write(recording);
      String started = stream.next().toString();
      assertTrue(started, started.matches("1 started: [0-9]+"));
      String ended = stream.next().toString();
      assertTrue(ended, ended.matches("1 ended \\(silence\\): [0-9]+ to [0-9]+"));
    }
  }

  @Test
  public void anIteratorTakesWhatIsThere() {
    try (VaskStream stream = learned().open()) {
      assertThrows(NoSuchElementException.class, () -> stream.iterator().next());
      stream.write(recording);
      int sentences = 0;
      for (VaskStreamEvent event : stream) {
        if (event.kind == VaskStreamEvent.Kind.ENDED) sentences++;
        if (event.kind == VaskStreamEvent.Kind.ENDED) assertTrue(stream.read().length > 0);
      }
      assertEquals(5, sentences);
      assertNull(stream.next());
    }
  }

  @Test
  public void measuresFollowTheStream() {
    try (VaskStream stream = learned().audio(VaskStream.Audio.LISTENING).open(); VaskStream energy =
        VaskStream.builder().open()) {
      assertEquals(-1, stream.measures().detectorAt);
      assertEquals(-1, stream.hearing().at);
      assertNull(energy.hearing());
      while (stream.next() == null) {
        int at = (int) stream.measures().heard;
        stream.write(recording, at, 1600);
        energy.write(recording, at, 1600);
      }
      VaskStreamMeasures measures = stream.measures();
      VaskStreamHearing hearing = stream.hearing();
      assertTrue(measures.open && measures.speech && measures.voiced);
      assertEquals(0, measures.heard % 1600);
      assertTrue(measures.levelDb > -60 && measures.levelDb < -10);
      assertEquals(0, measures.energyDb + measures.noiseDb, 0);
      assertTrue(hearing.at > 0 && hearing.at < measures.heard);
      assertTrue(hearing.speech200msAgo > 0.5 && hearing.speech100msAgo > 0.5 && hearing.music < 0.5);
      assertTrue(hearing.highGain > 0 && hearing.highGain < 1);
      VaskStreamMeasures ofEnergy = energy.measures();
      assertTrue(ofEnergy.energyDb > ofEnergy.noiseDb && ofEnergy.noiseDb > 0);
      assertEquals(measures.levelDb, ofEnergy.levelDb, 0);
    }
  }

  // --- life

  @Test
  public void closingEndsWhatHasStartedAndRefusesTheRest() {
    VaskStream stream = learned().open();
    VaskStreamEvent event;
    for (int at = 0; (event = stream.next()) == null; at += 1600) stream.write(recording, at, 1600);
    assertEquals(VaskStreamEvent.Kind.STARTED, event.kind);
    stream.close();
    stream.close();
    event = stream.next();
    assertNotEquals(VaskStreamEvent.Kind.STARTED, event.kind);
    assertEquals(1, event.segment);
    assertFalse(stream.iterator().hasNext());
    ThrowingRunnable[] calls = {
      () -> stream.write(recording), () -> stream.write(direct(2)), () -> stream.write(direct(2).asShortBuffer()),
      () -> stream.read(), () -> stream.read(direct(2)), stream::available, stream::flush, stream::reset,
      stream::measures, stream::hearing, () -> stream.setPause(1)
    };
    for (int i = 0; i < calls.length; i++) assertThrows("call " + i, IllegalStateException.class, calls[i]);
  }

  /** More than the queue holds is still to come out, and nobody has read: the last event comes all the same. */
  @Test
  public void closingAFullStreamEndsWhatHasStarted() {
    VaskStream stream = learned().queueSamples(56000).maxSamples(40000).audio(VaskStream.Audio.RAW).open();
    while (stream.write(recording, 16000, 32000) > 0) continue;
    stream.close();
    int started = 0;
    int over = 0;
    for (VaskStreamEvent event : stream) {
      if (event.kind == VaskStreamEvent.Kind.STARTED) started++;
      else over++;
    }
    assertTrue(started + " started, " + over + " over", started > 0 && started == over);
  }

  @Test
  public void anotherThreadMayClose() throws InterruptedException {
    for (int round = 0; round < 50; round++) {
      VaskStream stream = learned().audio(VaskStream.Audio.NONE).open();
      Thread writer = new Thread(() -> {
        ByteBuffer second = direct(32000);
        while (stream.next() == null) {
          try {
            stream.write(second.duplicate());
          } catch (IllegalStateException closed) {
            return;
          }
        }
      });
      writer.start();
      if (round % 2 == 0) Thread.sleep(2);
      stream.close();
      writer.join();
    }
  }

  @Test
  public void manyStreamsNeedNoMoreMemory() throws IOException {
    long before = 0;
    for (int round = 0; round < 400; round++) {
      if (round == 100) before = ResidentMemory.kib();
      try (VaskStream one = learned().model(System.getProperty("vask.model")).open(); VaskStream other =
          VaskStream.builder().open()) {
        one.write(recording, 0, 1000);
        other.write(recording, 0, 1000);
        assertThrows(BAD, () -> learned().pause(-1).model(System.getProperty("vask.model")).open());
      }
    }
    long grown = ResidentMemory.kib() - before;
    System.out.println("resident memory: " + before + " KiB, and " + grown + " KiB more after 300 rounds");
    if (!Boolean.getBoolean("vask.sanitized")) assertTrue(grown + " KiB", grown < 10000); // a leak is 200 MB
  }
}
