package com.norv.Brindle;

/**
 * The native side of {@link VaskStream}. Values are in the order of the C records, a float as its IEEE bits; what
 * follows an array or a buffer has been checked by the caller. A handle is never 0.
 */
final class VaskStreamLibrary {
  // Results below 0.
  static final int FULL = -2;
  static final int NO_MEMORY = -3;
  static final int OVER = -4;

  static {
    System.loadLibrary("Vask");
  }

  private VaskStreamLibrary() {}

  static native String version();

  static native String kindName(int kind);

  static native String reasonName(int reason);

  static native void defaults(double[] options);

  static native void robust(double[] options);

  static native void profile(int device, int os, double[] options);

  /** Throws an IllegalArgumentException with the library's complaint, or an OutOfMemoryError. */
  static native long open(double[] options, String model);

  static native int writeArray(long handle, short[] samples, int offset, int count);

  /** The offset is in bytes, the count in samples. */
  static native int writeBuffer(long handle, Object samples, int offset, int count);

  static native int flush(long handle);

  static native boolean next(long handle, long[] event);

  static native int available(long handle);

  static native int readArray(long handle, short[] samples, int offset, int count);

  static native int readBuffer(long handle, Object samples, int offset, int count);

  static native void measure(long handle, long[] measures);

  static native boolean hear(long handle, long[] hearing);

  static native int setPause(long handle, float seconds);

  static native void reset(long handle);

  static native void close(long handle);
}
