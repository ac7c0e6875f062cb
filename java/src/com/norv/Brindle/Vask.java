package com.norv.Brindle;

/**
 * A speech front end: takes microphone samples, removes the background noise, finds the spoken utterance and
 * gives it back as samples or as compressed packets.
 *
 * <p>Sound is 16-bit signed PCM at 16000 Hz, one channel. There is one stream in a process, and one open file.
 * The methods may be called from any thread: they take turns, one whole method at a time. Calls that belong
 * together need a lock of the application's own, and so does native code that uses the C interface beside this
 * class.
 *
 * <p>Calling order:
 *
 * <ol>
 *   <li>{@link #Vask_epd_set_option} if the device is known, then {@link #Vask_epd_init}, once;
 *   <li>for each utterance {@link #Vask_epd_reset}, then {@link #Vask_epd_process_frames} with each buffer of the
 *       microphone, and after each of them one of the methods that take what is queued: {@link
 *       #Vask_epd_get_raw_data}, {@link #Vask_epd_get_pkt_data} or {@link #Vask_epd_get_pkt_stream};
 *   <li>until {@link #Vask_epd_process_frames} returns 1: take the rest (packets with {@code last} = 1).
 * </ol>
 *
 * <p>Before {@link #Vask_epd_init} every method may be called; nothing is processed. A null array or one that is
 * too short gives a {@link NullPointerException} or an {@link ArrayIndexOutOfBoundsException}; nothing has been
 * taken from the queue then, and the call can be made again.
 */
public final class Vask {
  static {
    System.loadLibrary("Vask");
  }

  private Vask() {}

  /**
   * Starts the front end, or starts it again.
   *
   * @param kbDir knowledge-base directory, up to 118 bytes in UTF-8; it need not exist
   * @param mode 1: every noise-reduced frame is queued; 2: the samples of the utterance, from 350 ms before its
   *     start; 3 or 4: nothing, only the end is found
   * @return 1; 0 if {@code kbDir} is null or too long
   * @throws OutOfMemoryError if there is no memory for it; what was running goes on
   */
  public static native int Vask_epd_init(String kbDir, int mode);

  /**
   * Selects the device or its operating system; the next {@link #Vask_epd_init} uses its tuning.
   *
   * @param option 1: device; 2: operating system; any other: no effect
   * @param value number of the device or system; 2 is the default of both
   * @return 0
   */
  public static native int Vask_epd_set_option(int option, int value);

  /**
   * Takes samples and processes every frame of 160 samples (10 ms) that is complete; the rest waits for the next
   * call. At most 160000 samples (10 s) between two resets: a longer stream ends the utterance.
   *
   * <p>In mode 1 a rejected segment is not reported at once. If the mode is changed, the next frame reports it,
   * even after a new {@link #Vask_epd_init}: 1 with an empty queue, though that frame ends nothing.
   *
   * @param n number of samples, at most the length of the array
   * @param samples the samples; those whose frame was processed in this call are clipped to -30000 ... 30000 in
   *     place
   * @return 0: continue; 1: the utterance has ended, or what was heard turned out not to be speech and the queue is
   *     empty; -1: no frame was complete, or {@link #Vask_epd_init} has not been called; 2: only in mode 1, same as
   *     0. Also 0, with nothing processed, if {@code samples} is null
   * @throws ArrayIndexOutOfBoundsException if n is negative or greater than the length of the array
   */
  public static native int Vask_epd_process_frames(int n, short[] samples);

  /**
   * Takes samples from the queue.
   *
   * @param max maximum number of samples to take
   * @param out gets the samples, from index 0
   * @return the number of samples taken; max itself if it is less than 1
   * @throws NullPointerException if {@code out} is null
   * @throws ArrayIndexOutOfBoundsException if {@code out} is shorter than what could be taken
   */
  public static native int Vask_epd_get_raw_data(int max, short[] out);

  /**
   * Takes 2n samples from the queue as a packet of n bytes, IMA ADPCM without a header. All packets between two
   * resets are one stream: decode them in order, with one decoder.
   *
   * @param n size of a packet in bytes, 1 to 999999
   * @param out gets the packet, from index 0
   * @param last not 0 at the end of the utterance: the packet is filled up with silence
   * @return n; 0 if fewer than 2n samples are queued and {@code last} is 0, or if n is out of range
   * @throws NullPointerException if {@code out} is null
   * @throws ArrayIndexOutOfBoundsException if there is a packet and {@code out} is shorter
   */
  public static native int Vask_epd_get_pkt_data(int n, byte[] out, int last);

  /**
   * Takes all whole packets from the queue, each with a header of 8 characters before its n bytes: "D" ("E" for the
   * last of an utterance), a space, and n in six columns, as in {@code "D    160"}.
   *
   * @param n size of a packet in bytes without its header, 1 to 999999
   * @param out gets the packets, one after another, from index 0
   * @param last not 0 at the end of the utterance: the rest is filled up with silence and sent as "E"; there is
   *     always such a packet
   * @return the number of bytes, k (n + 8) for k packets; 0 if there are none, or if n is out of range
   * @throws NullPointerException if {@code out} is null
   * @throws ArrayIndexOutOfBoundsException if {@code out} is shorter than the packets
   */
  public static native int Vask_epd_get_pkt_stream(int n, byte[] out, int last);

  /**
   * Ends the utterance from outside. The queue is kept.
   *
   * @return 1
   */
  public static native int Vask_epd_wrapup();

  /**
   * Prepares for the next utterance: empties input and queue and begins a new packet stream. In the middle of an
   * utterance call {@link #Vask_epd_wrapup} as well.
   */
  public static native void Vask_epd_reset();

  /**
   * Does nothing; there are no features.
   *
   * @return 0
   */
  public static native int Vask_epd_get_mfc_data();

  /**
   * Opens a file for {@link #Vask_fread}. Close the previous one first: it is replaced without being closed.
   *
   * @param path its name
   * @return a number other than 0 that identifies the file; 0 if it cannot be opened, and then no file is open. With
   *     a null path, the number of the file that is open
   */
  public static native int Vask_fopen(String path);

  /**
   * Reads 16-bit samples, in the byte order of the machine, from the open file.
   *
   * @param n maximum number of samples to read
   * @param out gets the samples, from index 0
   * @return the number of samples read; 0 at the end, if no file is open, or if n is less than 1
   * @throws NullPointerException if a file is open and {@code out} is null
   * @throws ArrayIndexOutOfBoundsException if {@code out} is shorter than what was read; the position in the
   *     file is then unchanged, unless it is a pipe
   */
  public static native int Vask_fread(int n, short[] out);

  /**
   * Reads bytes from the open file, otherwise as {@link #Vask_fread}.
   *
   * @param n maximum number of bytes to read
   * @param out gets the bytes, from index 0
   * @return the number of bytes read; 0 at the end, if no file is open, or if n is less than 1
   * @throws NullPointerException if a file is open and {@code out} is null
   * @throws ArrayIndexOutOfBoundsException if {@code out} is shorter than what was read
   */
  public static native int Vask_fread_byte(int n, byte[] out);

  /**
   * Closes the open file.
   *
   * @return 0, also if no file is open; another value if closing failed
   */
  public static native int Vask_fclose();
}
