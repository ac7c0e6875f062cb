package com.norv.Brindle;

import java.nio.ByteBuffer;
import java.nio.ByteOrder;
import java.nio.ReadOnlyBufferException;
import java.nio.ShortBuffer;
import java.util.ArrayDeque;
import java.util.Iterator;
import java.util.NoSuchElementException;
import java.util.Queue;

/**
 * A stream of speech: samples are written in pieces of any length; out come events that say where in the input each
 * utterance is, and its audio. Any number of streams work side by side, each of any length.
 *
 * <pre>{@code
 * try (VaskStream stream = VaskStream.builder().detector(VaskStream.Detector.LEARNED).inputRate(48000).open()) {
 *   while (microphone.read(piece) > 0) {
 *     stream.write(piece);
 *     for (VaskStreamEvent event : stream) handle(event, stream);
 *   }
 *   stream.flush();
 *   for (VaskStreamEvent event : stream) handle(event, stream); // calls stream.read() where one has ended
 * }
 * }</pre>
 *
 * <p>Samples are 16-bit signed PCM, one channel, at the input's rate; what is read is at the audio's rate. Positions
 * count the samples of the input from 0, since the opening or the last {@link #reset}.
 *
 * <p>Arrays and direct buffers are both taken; what is in a direct buffer is not copied. A {@link ByteBuffer} holds
 * samples in the byte order of the machine, whatever its own order says, from an even address.
 *
 * <p>Streams share nothing: each may be used by a thread of its own. Threads that use the same stream take turns, one
 * whole call at a time, so that one thread may close what another one uses.
 *
 * <p>A stream holds 0.2 to 0.9 MB outside the Java heap until {@link #close}; the garbage collector does not release
 * it. After {@link #close} the last events can still be taken, and every other call throws an {@link
 * IllegalStateException}.
 */
public final class VaskStream implements AutoCloseable, Iterable<VaskStreamEvent> {
  /** What a stream delivers. */
  public enum Mode {
    /** Every sample, in step with the input, and no events. */
    CONTINUOUS,
    /** Events, and the audio of the utterances. */
    UTTERANCES;

    int number() {
      return ordinal() + 1;
    }
  }

  /** Which audio is read. */
  public enum Audio {
    /** Noise-reduced, for a recogniser. */
    CLEAN,
    /** The input as it was written, of the same span. */
    RAW,
    /** None: for callers that want only the events or the measures. */
    NONE,
    /** Noise-reduced, for people to listen to; only with the learned detector. */
    LISTENING
  }

  /** Which detector decides where utterances are. */
  public enum Detector {
    /** That of the class {@link Vask}: levels, tonality and voicing against the learned noise. */
    ENERGY,
    /** A small recurrent net; neither the level nor what came before matters to it. */
    LEARNED
  }

  private static final int SAMPLE = 2; // bytes

  private final Queue<VaskStreamEvent> last = new ArrayDeque<>(); // what close() has found
  private long handle; // 0: closed

  VaskStream(long handle) {
    this.handle = handle;
  }

  /**
   * Begins with the options of a plain front end: the detector {@link Detector#ENERGY}, utterances, cleaned, 16 kHz.
   *
   * @return the builder, whose {@link VaskStreamBuilder#open} opens a stream
   */
  public static VaskStreamBuilder builder() {
    return new VaskStreamBuilder();
  }

  /**
   * Returns the version of the library.
   *
   * @return its number, such as "0.3.0"
   */
  public static String version() {
    return VaskStreamLibrary.version();
  }

  /**
   * Writes a whole array, as {@link #write(short[], int, int)}.
   *
   * @param samples the samples
   * @return the number of samples taken
   */
  public int write(short[] samples) {
    return write(samples, 0, samples.length);
  }

  /**
   * Writes input. Every complete frame is processed at once; the samples after the last one wait for more.
   *
   * @param samples the samples; not changed
   * @param offset index of the first
   * @param count how many
   * @return the number of samples taken: {@code count}, or fewer if the queue has reached its bound; then take audio
   *     and events and write the rest
   * @throws IndexOutOfBoundsException if the array does not hold them
   * @throws IllegalStateException if the stream is flushed or closed
   * @throws OutOfMemoryError if the queue could not grow and no sample was taken; the call can be made again
   */
  public synchronized int write(short[] samples, int offset, int count) {
    checkRange(samples, offset, count);
    return taken(VaskStreamLibrary.writeArray(open(), samples, offset, count));
  }

  /**
   * Writes what is between the position and the limit of a buffer, otherwise as {@link #write(short[], int, int)}.
   *
   * @param samples a direct buffer in the byte order of the machine, which is not copied, or one with an array; its
   *     position moves behind what was taken
   * @return the number of samples taken
   * @throws IllegalArgumentException if the buffer is neither, or begins at an odd address
   */
  public synchronized int write(ShortBuffer samples) {
    int position = samples.position();
    int count = samples.remaining();
    int taken;
    if (samples.isDirect()) {
      checkOrder(samples);
      taken = taken(VaskStreamLibrary.writeBuffer(open(), samples, SAMPLE * position, count));
    } else {
      checkArray(samples);
      taken = taken(VaskStreamLibrary.writeArray(open(), samples.array(), samples.arrayOffset() + position, count));
    }
    samples.position(position + taken);
    return taken;
  }

  /**
   * Writes what is between the position and the limit of a buffer, otherwise as {@link #write(short[], int, int)}.
   *
   * @param samples a direct buffer; its position moves behind what was taken
   * @return the number of samples taken, of two bytes each
   * @throws IllegalArgumentException if the buffer is not direct, or does not hold whole samples from an even address
   */
  public synchronized int write(ByteBuffer samples) {
    int position = samples.position();
    int taken = taken(VaskStreamLibrary.writeBuffer(open(), samples, position, countIn(samples)));
    samples.position(position + SAMPLE * taken);
    return taken;
  }

  /**
   * Ends the input. Everything that was held back comes out; a segment that is still open becomes an utterance if its
   * detector's rules allow, or is rejected. A second call does nothing.
   *
   * @return true: everything has come out; false: the queue has reached its bound: take audio and events and call
   *     again
   * @throws IllegalStateException if the stream is closed
   * @throws OutOfMemoryError if the queue could not grow; the call can be made again
   */
  public synchronized boolean flush() {
    int result = VaskStreamLibrary.flush(open());
    if (result == VaskStreamLibrary.NO_MEMORY) throw new OutOfMemoryError("the queue of the stream cannot grow");
    return result != VaskStreamLibrary.FULL;
  }

  /**
   * Takes the next event, in order. When a {@link VaskStreamEvent.Kind#STARTED} is taken, what has not been read of
   * the previous utterance is dropped.
   *
   * @return the event; null if there is none now. After {@link #close} too, until the last events are taken
   */
  public synchronized VaskStreamEvent next() {
    return handle != 0 ? take() : last.poll();
  }

  /**
   * Goes through the events that are there now, taking them as {@link #next} does.
   *
   * @return the events; {@code hasNext} takes the one that {@code next} then returns
   */
  @Override
  public Iterator<VaskStreamEvent> iterator() {
    return new Iterator<VaskStreamEvent>() {
      private VaskStreamEvent event;

      @Override
      public boolean hasNext() {
        if (event == null) event = VaskStream.this.next();
        return event != null;
      }

      @Override
      public VaskStreamEvent next() {
        if (!hasNext()) throw new NoSuchElementException();
        VaskStreamEvent taken = event;
        event = null;
        return taken;
      }
    };
  }

  /**
   * Counts the samples that {@link #read()} would return now.
   *
   * @return samples, at the audio's rate
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized int available() {
    return VaskStreamLibrary.available(open());
  }

  /**
   * Takes all audio that is there. In mode {@link Mode#UTTERANCES} it is that of the segment whose event was taken
   * last: after a start what is certain to belong to it so far, after an end the rest, after a rejection nothing.
   *
   * @return the samples; an empty array if there are none
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized short[] read() {
    short[] samples = new short[available()];
    read(samples);
    return samples;
  }

  /**
   * Takes audio as {@link #read()} does, as much as fits into an array.
   *
   * @param samples gets the samples, from index 0
   * @return the number of samples; 0 if there are none
   */
  public int read(short[] samples) {
    return read(samples, 0, samples.length);
  }

  /**
   * Takes audio as {@link #read()} does, at most so much.
   *
   * @param samples gets the samples
   * @param offset index of the first
   * @param count how many at most
   * @return the number of samples; 0 if there are none
   * @throws IndexOutOfBoundsException if the array has no room for them
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized int read(short[] samples, int offset, int count) {
    checkRange(samples, offset, count);
    return VaskStreamLibrary.readArray(open(), samples, offset, count);
  }

  /**
   * Takes audio as {@link #read()} does, as much as fits between the position and the limit of a buffer.
   *
   * @param samples a direct buffer in the byte order of the machine, or one with an array; its position moves behind
   *     what was read
   * @return the number of samples; 0 if there are none
   * @throws IllegalArgumentException if the buffer is neither, or begins at an odd address
   * @throws ReadOnlyBufferException if it cannot be changed
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized int read(ShortBuffer samples) {
    if (samples.isReadOnly()) throw new ReadOnlyBufferException();
    int position = samples.position();
    int count = samples.remaining();
    int taken;
    if (samples.isDirect()) {
      checkOrder(samples);
      taken = VaskStreamLibrary.readBuffer(open(), samples, SAMPLE * position, count);
    } else {
      checkArray(samples);
      taken = VaskStreamLibrary.readArray(open(), samples.array(), samples.arrayOffset() + position, count);
    }
    samples.position(position + taken);
    return taken;
  }

  /**
   * Takes audio as {@link #read()} does, as much as fits between the position and the limit of a buffer.
   *
   * @param samples a direct buffer; its position moves behind what was read
   * @return the number of samples, of two bytes each; 0 if there are none
   * @throws IllegalArgumentException if the buffer is not direct, or has no room for whole samples from an even address
   * @throws ReadOnlyBufferException if it cannot be changed
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized int read(ByteBuffer samples) {
    if (samples.isReadOnly()) throw new ReadOnlyBufferException();
    int position = samples.position();
    int taken = VaskStreamLibrary.readBuffer(open(), samples, position, countIn(samples));
    samples.position(position + SAMPLE * taken);
    return taken;
  }

  /**
   * Returns the measures of the newest frame, for meters and traces.
   *
   * @return the measures
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized VaskStreamMeasures measures() {
    long[] values = new long[VaskStreamMeasures.VALUES];
    VaskStreamLibrary.measure(open(), values);
    return new VaskStreamMeasures(values);
  }

  /**
   * Returns what the learned detector makes of the newest step of 0.02 s.
   *
   * @return its probabilities; null if the stream has the other detector
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized VaskStreamHearing hearing() {
    long[] values = new long[VaskStreamHearing.VALUES];
    return VaskStreamLibrary.hear(open(), values) ? new VaskStreamHearing(values) : null;
  }

  /**
   * Changes the pause that ends an utterance while the stream runs. A pause that is already longer ends the open
   * utterance at the next frame. It outlasts a {@link #reset}.
   *
   * @param seconds 0.02 to 10 with {@link Detector#LEARNED}, 0 to 30 with {@link Detector#ENERGY}, and no more than
   *     the queue has room for
   * @throws IllegalArgumentException if it is out of that range
   * @throws IllegalStateException if the stream is closed
   * @throws OutOfMemoryError if a longer one needs memory that is not there; nothing has changed
   */
  public synchronized void setPause(float seconds) {
    int result = VaskStreamLibrary.setPause(open(), seconds);
    if (result == VaskStreamLibrary.NO_MEMORY) throw new OutOfMemoryError("there is no memory for so long a pause");
    if (result == 0) return;
    throw new IllegalArgumentException("the detector or the queue does not allow a pause of " + seconds + " s");
  }

  /**
   * Puts the stream back in the state in which it was opened: position 0, nothing heard, audio and events dropped.
   *
   * @throws IllegalStateException if the stream is closed
   */
  public synchronized void reset() {
    VaskStreamLibrary.reset(open());
  }

  /**
   * Flushes, keeps the events that nobody has taken for {@link #next} and {@link #iterator}, and releases the rest:
   * every start is followed by an end or a rejection, but audio that was not read is lost. To read the audio of the
   * last utterance, call {@link #flush} first. A second call does nothing.
   */
  @Override
  public synchronized void close() {
    if (handle == 0) return;
    try {
      boolean isOver;
      do {
        isOver = VaskStreamLibrary.flush(handle) == 0;
      } while (keepEvents() && !isOver);
    } finally {
      VaskStreamLibrary.close(handle);
      handle = 0;
    }
  }

  /** Empties the queue. False if nothing was in it. */
  private boolean keepEvents() {
    short[] dropped = new short[4096];
    boolean found = false;
    for (;;) {
      while (VaskStreamLibrary.readArray(handle, dropped, 0, dropped.length) > 0) found = true;
      VaskStreamEvent event = take();
      if (event == null) return found;
      last.add(event);
      found = true;
    }
  }

  private VaskStreamEvent take() {
    long[] values = new long[VaskStreamEvent.VALUES];
    return VaskStreamLibrary.next(handle, values) ? new VaskStreamEvent(values) : null;
  }

  private long open() {
    if (handle == 0) throw new IllegalStateException("the stream is closed");
    return handle;
  }

  private static int taken(int result) {
    if (result == VaskStreamLibrary.OVER) throw new IllegalStateException("the stream is flushed: reset it first");
    if (result == VaskStreamLibrary.NO_MEMORY) throw new OutOfMemoryError("the queue of the stream cannot grow");
    return Math.max(result, 0);
  }

  private static void checkRange(short[] samples, int offset, int count) {
    if (offset >= 0 && count >= 0 && count <= samples.length - offset) return;
    throw new IndexOutOfBoundsException(count + " samples from " + offset + " in an array of " + samples.length);
  }

  private static void checkOrder(ShortBuffer samples) {
    if (samples.order() == ByteOrder.nativeOrder()) return;
    throw new IllegalArgumentException("the buffer is not in the byte order of the machine");
  }

  private static void checkArray(ShortBuffer samples) {
    if (samples.hasArray()) return;
    throw new IllegalArgumentException("the buffer is neither direct nor has an array that can be used");
  }

  private static int countIn(ByteBuffer samples) {
    if (!samples.isDirect()) throw new IllegalArgumentException("the buffer is not direct");
    if (samples.remaining() % SAMPLE == 0) return samples.remaining() / SAMPLE;
    throw new IllegalArgumentException("the buffer holds half a sample: " + samples.remaining() + " bytes");
  }
}
