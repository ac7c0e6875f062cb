package com.norv.Brindle.example;

import android.media.AudioFormat;
import android.media.AudioRecord;
import android.media.MediaRecorder;
import com.norv.Brindle.VaskStream;
import com.norv.Brindle.VaskStreamEvent;
import java.nio.ByteBuffer;

/** The microphone's thread. Its stream is its own. */
final class Microphone extends Thread {
  /** Called on this thread. */
  interface Listener {
    void onUtterance(short[] samples, double seconds);

    void onFailure(String reason);
  }

  private static final int RATE = 16000;
  private static final int BUFFER = 2 * RATE / 50; // bytes: 20 ms

  private final Listener listener;
  private volatile boolean closed;

  Microphone(Listener listener) {
    super("microphone");
    this.listener = listener;
  }

  void close() {
    closed = true;
  }

  @Override
  public void run() {
    int least = AudioRecord.getMinBufferSize(RATE, AudioFormat.CHANNEL_IN_MONO, AudioFormat.ENCODING_PCM_16BIT);
    AudioRecord record = new AudioRecord(MediaRecorder.AudioSource.VOICE_RECOGNITION, RATE,
        AudioFormat.CHANNEL_IN_MONO, AudioFormat.ENCODING_PCM_16BIT, Math.max(least, 20 * BUFFER));
    try (VaskStream stream = VaskStream.builder().detector(VaskStream.Detector.LEARNED).open()) {
      if (record.getState() != AudioRecord.STATE_INITIALIZED) {
        listener.onFailure("The microphone cannot be had.");
        return;
      }
      record.startRecording();
      listen(record, stream);
      record.stop();
    } finally {
      record.release();
    }
  }

  private void listen(AudioRecord record, VaskStream stream) {
    ByteBuffer buffer = ByteBuffer.allocateDirect(BUFFER); // written by one and read by the other, without a copy
    while (!closed) {
      int count = record.read(buffer, BUFFER);
      if (count < 0) {
        listener.onFailure("The microphone has failed: " + count);
        return;
      }
      buffer.position(0).limit(count);
      stream.write(buffer);
      deliver(stream);
    }
    stream.flush(); // what was said last
    deliver(stream);
  }

  private void deliver(VaskStream stream) {
    for (VaskStreamEvent event : stream) {
      if (event.kind != VaskStreamEvent.Kind.ENDED) continue;
      listener.onUtterance(stream.read(), (event.end - event.start) / (double) RATE);
    }
  }
}
