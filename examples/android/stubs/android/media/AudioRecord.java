package android.media;

public class AudioRecord {
  public static final int STATE_INITIALIZED = 1;

  public AudioRecord(int source, int rateInHz, int channels, int encoding, int bufferSizeInBytes) {}

  public static int getMinBufferSize(int rateInHz, int channels, int encoding) {
    return 0;
  }

  public int getState() {
    return 0;
  }

  public void startRecording() {}

  public int read(java.nio.ByteBuffer audioBuffer, int sizeInBytes) {
    return 0;
  }

  public void stop() {}

  public void release() {}
}
