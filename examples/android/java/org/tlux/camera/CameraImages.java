package org.tlux.camera;

import android.media.Image;
import java.nio.ByteBuffer;

/** Takes frames from an ImageReader of format YUV_420_888. */
public final class CameraImages {
  private CameraImages() {}

  /** Optimizes an image of the size the optimizer was made for; see FrameOptimizer.optimize(). */
  public static int optimize(FrameOptimizer optimizer, Image image, int strength, ByteBuffer output) {
    Image.Plane[] planes = image.getPlanes();
    return optimizer.optimize(planes[0].getBuffer(), planes[0].getRowStride(),
        planes[1].getBuffer(), planes[2].getBuffer(), planes[1].getRowStride(),
        planes[1].getPixelStride(), strength, output);
  }
}
