package org.tlux.camera;

import java.nio.ByteBuffer;

/**
 * Optimizes camera frames of one size. Keep one for a stream, use it from one thread at a time and
 * close it.
 */
public final class FrameOptimizer implements AutoCloseable {
  /** Order of the chroma in a result: Cb before Cr. */
  public static final int NV12 = 0x801;

  /** Order of the chroma in a result: Cr before Cb, as in android.graphics.ImageFormat.NV21. */
  public static final int NV21 = 0x802;

  static {
    System.loadLibrary("tlux_jni");
  }

  private final int width;
  private final int height;
  private long handle;

  /** Width and height in pixels; both even. */
  public FrameOptimizer(int width, int height) {
    if (width <= 0 || height <= 0 || width % 2 != 0 || height % 2 != 0) {
      throw new IllegalArgumentException("frames have an even width and height");
    }
    this.width = width;
    this.height = height;
    handle = create(width, height);
    if (handle == 0) {
      throw new OutOfMemoryError("tlux");
    }
  }

  /** Bytes from one row of a result to the next. */
  public int rowStride() {
    return (width + 3) / 4 * 4;
  }

  /** A direct buffer for a result: height rows of luma, then height / 2 rows of chroma pairs. */
  public ByteBuffer newOutput() {
    return ByteBuffer.allocateDirect(Math.multiplyExact(rowStride(), height / 2 * 3));
  }

  /**
   * Optimizes one frame (YUV_420_888, full range). All buffers are direct; their positions do not
   * matter.
   *
   * @param strength 0 keeps the tones, 30 suits most pictures, 100 is strong
   * @param output from newOutput(); overwritten, also when the frame fails; not one of the planes
   * @return the order of the result's chroma, the frame's own if its chroma is interleaved:
   *     {@link #NV21} or {@link #NV12}
   */
  public int optimize(ByteBuffer y, int yRowStride, ByteBuffer u, ByteBuffer v, int chromaRowStride,
      int chromaPixelStride, int strength, ByteBuffer output) {
    if (handle == 0) {
      throw new IllegalStateException("closed");
    }
    if (output.isReadOnly()) {
      throw new IllegalArgumentException("the output is read-only");
    }
    int result = optimize(handle, y, yRowStride, u, v, chromaRowStride, chromaPixelStride, strength,
        output);
    if (result == -2) {
      throw new IllegalArgumentException("a buffer is too short or not direct, or a stride is wrong");
    }
    if (result < 0) {
      throw new IllegalStateException("tlux result " + -result);
    }
    return result;
  }

  @Override
  public void close() {
    destroy(handle);
    handle = 0;
  }

  private static native long create(int width, int height);

  private static native void destroy(long handle);

  private static native int optimize(long handle, ByteBuffer y, int yRowStride, ByteBuffer u,
      ByteBuffer v, int chromaRowStride, int chromaPixelStride, int strength, ByteBuffer output);
}
