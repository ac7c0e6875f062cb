package com.norv.Brindle.example;

import android.media.AudioFormat;
import android.media.AudioRecord;
import android.media.MediaRecorder;
import com.norv.Brindle.Vask;
import java.util.Arrays;

/** The microphone's thread, and the only one that calls the front end. */
final class Microphone extends Thread {
  /** Called on this thread. */
  interface Listener {
    void onUtterance(byte[] packets, int seconds);

    void onFailure(String reason);
  }

  private static final int RATE = 16000;
  private static final int BUFFER = RATE / 50; // samples: 20 ms
  private static final int PACKET = BUFFER / 2; // bytes: 20 ms
  private static final int CAPACITY = 10 * RATE; // samples between two resets
  private static final int IDLE_RESET = CAPACITY / 2;

  private static final byte[] NO_ROOM = {};
  private static final Object FRONT_END = new Object();

  private final String folder;
  private final Listener listener;
  private volatile boolean closed;

  Microphone(String folder, Listener listener) {
    super("microphone");
    this.folder = folder;
    this.listener = listener;
  }

  void close() {
    closed = true;
  }

  @Override
  public void run() {
    synchronized (FRONT_END) { // the thread of a closed screen may still be running
      if (closed) return;
      if (Vask.Vask_epd_init(folder, 2) != 1) {
        listener.onFailure("The front end does not start.");
        return;
      }
      int least = AudioRecord.getMinBufferSize(RATE, AudioFormat.CHANNEL_IN_MONO, AudioFormat.ENCODING_PCM_16BIT);
      AudioRecord record = new AudioRecord(MediaRecorder.AudioSource.VOICE_RECOGNITION, RATE,
          AudioFormat.CHANNEL_IN_MONO, AudioFormat.ENCODING_PCM_16BIT, Math.max(least, 20 * BUFFER));
      try {
        if (record.getState() != AudioRecord.STATE_INITIALIZED) {
          listener.onFailure("The microphone cannot be had.");
          return;
        }
        record.startRecording();
        listen(record);
        record.stop();
      } finally {
        record.release();
      }
    }
  }

  private void listen(AudioRecord record) {
    short[] buffer = new short[BUFFER];
    byte[] packets = new byte[CAPACITY];
    int fed = 0; // since the last reset
    Vask.Vask_epd_reset();
    Vask.Vask_epd_wrapup();
    while (!closed) {
      int count = record.read(buffer, 0, BUFFER);
      if (count < 0) {
        listener.onFailure("The microphone has failed: " + count);
        return;
      }
      fed += count;
      if (Vask.Vask_epd_process_frames(count, buffer) == 1) {
        // The whole utterance was queued until its end. More than the closing packet: it was speech.
        int size = Vask.Vask_epd_get_pkt_stream(PACKET, packets, 1);
        if (size > PACKET + 8) listener.onUtterance(Arrays.copyOf(packets, size), size / (PACKET + 8) / 50);
      } else if (fed < IDLE_RESET || utteranceIsOpen()) {
        continue;
      }
      Vask.Vask_epd_reset();
      fed = 0;
    }
  }

  /** Whether anything is queued: a packet that does not fit is refused and stays queued. */
  private static boolean utteranceIsOpen() {
    try {
      return Vask.Vask_epd_get_pkt_data(1, NO_ROOM, 0) > 0;
    } catch (ArrayIndexOutOfBoundsException full) {
      return true;
    }
  }
}
