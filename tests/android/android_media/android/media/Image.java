package android.media;

import java.nio.ByteBuffer;

/** As much of Android's class as the example calls, to compile it without the SDK. */
public abstract class Image {
  public abstract Plane[] getPlanes();

  public abstract static class Plane {
    public abstract ByteBuffer getBuffer();

    public abstract int getPixelStride();

    public abstract int getRowStride();
  }
}
