import java.nio.ByteBuffer;
import org.tlux.camera.FrameOptimizer;

/** Runs the example's classes on this machine's Java: one frame in every arrangement of its planes. */
public final class HostTest {
  private static final int WIDTH = 198;
  private static final int HEIGHT = 64;
  private static final int PAIRS = WIDTH / 2;

  private static int luma(int x, int row) {
    return x < 120 ? 20 + (x * 7 + row * 3) % 30 : 200 + (x + row) % 50;
  }

  private static int cb(int x, int row) {
    return 100 + (x + 2 * row) % 40;
  }

  private static int cr(int x, int row) {
    return 150 - (2 * x + row) % 40;
  }

  /** Planes in one block, as cameras have them; sample x of a chroma row is at first + x * step. */
  private record Frame(ByteBuffer y, int yStride, ByteBuffer u, ByteBuffer v, int stride, int step) {
    static Frame of(int yStride, int stride, int step, int firstU, int firstV) {
      // A buffer ends with its plane's last sample, and a full row of padding does not follow it.
      ByteBuffer y = ByteBuffer.allocateDirect((HEIGHT - 1) * yStride + WIDTH);
      int span = (HEIGHT / 2 - 1) * stride + (PAIRS - 1) * step + 1;
      ByteBuffer chroma = ByteBuffer.allocateDirect(Math.max(firstU, firstV) + span);
      ByteBuffer u = chroma.slice(firstU, span);
      ByteBuffer v = chroma.slice(firstV, span);
      for (int row = 0; row < HEIGHT; ++row) {
        for (int x = 0; x < WIDTH; ++x) {
          y.put(row * yStride + x, (byte) luma(x, row));
        }
      }
      for (int row = 0; row < HEIGHT / 2; ++row) {
        for (int x = 0; x < PAIRS; ++x) {
          u.put(row * stride + x * step, (byte) cb(x, row));
          v.put(row * stride + x * step, (byte) cr(x, row));
        }
      }
      return new Frame(y, yStride, u, v, stride, step);
    }

    int optimize(FrameOptimizer optimizer, ByteBuffer output) {
      return optimizer.optimize(y, yStride, u, v, stride, step, 60, output);
    }
  }

  private static void check(boolean holds, String what) {
    if (!holds) {
      throw new AssertionError(what);
    }
  }

  private static <E extends RuntimeException> void checkThrows(Class<E> kind, Runnable work) {
    try {
      work.run();
    } catch (RuntimeException thrown) {
      check(kind.isInstance(thrown), "not " + kind + " but " + thrown);
      return;
    }
    throw new AssertionError("no " + kind);
  }

  /** Luma, and Cb and Cr in one order, without padding; the mark, which ends a row's right, left out. */
  private static byte[] samples(ByteBuffer output, int rowStride, int format) {
    byte[] all = new byte[WIDTH * HEIGHT * 3 / 2];
    for (int row = 0; row < HEIGHT * 3 / 2; ++row) {
      for (int x = 0; x < WIDTH; ++x) {
        int from = row >= HEIGHT && format == FrameOptimizer.NV12 ? x ^ 1 : x;
        all[row * WIDTH + x] = output.get(row * rowStride + from);
      }
    }
    return all;
  }

  public static void main(String[] args) {
    int chromaSpan = HEIGHT / 2 * 256;
    Frame[] frames = {
        Frame.of(WIDTH, WIDTH, 2, 1, 0), // NV21
        Frame.of(256, 256, 2, 1, 0), // NV21 with padded rows
        Frame.of(256, 224, 2, 0, 1), // NV12
        Frame.of(200, 100, 1, 0, chromaSpan), // planar
        Frame.of(200, 256, 2, 0, chromaSpan), // every second byte, the chroma planes apart
    };
    int[] formats = {FrameOptimizer.NV21, FrameOptimizer.NV21, FrameOptimizer.NV12,
        FrameOptimizer.NV21, FrameOptimizer.NV21};
    try (FrameOptimizer optimizer = new FrameOptimizer(WIDTH, HEIGHT)) {
      byte[] expected = null;
      for (int i = 0; i < frames.length; ++i) {
        ByteBuffer output = optimizer.newOutput();
        check(frames[i].optimize(optimizer, output) == formats[i], "format of frame " + i);
        byte[] got = samples(output, optimizer.rowStride(), formats[i]);
        if (expected == null) {
          expected = got;
        }
        check(java.util.Arrays.equals(got, expected), "frame " + i + " differs from the first");
      }
      int dark = 0;
      for (int x = 0; x < 100; ++x) {
        dark += (expected[20 * WIDTH + x] & 255) - luma(x, 20);
      }
      check(dark > 100, "the shadows are not lifted: " + dark);

      Frame frame = frames[1];
      ByteBuffer output = optimizer.newOutput();
      ByteBuffer shortOutput = ByteBuffer.allocateDirect(output.capacity() - optimizer.rowStride());
      ByteBuffer shortLuma = frame.y().slice(0, frame.y().capacity() - 1);
      ByteBuffer shortChroma = frame.v().slice(0, frame.v().capacity() - 1);
      checkThrows(IllegalArgumentException.class, () -> frame.optimize(optimizer, shortOutput));
      checkThrows(IllegalArgumentException.class,
          () -> frame.optimize(optimizer, ByteBuffer.allocate(output.capacity())));
      checkThrows(IllegalArgumentException.class,
          () -> frame.optimize(optimizer, output.asReadOnlyBuffer()));
      checkThrows(IllegalArgumentException.class,
          () -> optimizer.optimize(shortLuma, 256, frame.u(), frame.v(), 256, 2, 60, output));
      checkThrows(IllegalArgumentException.class,
          () -> optimizer.optimize(frame.y(), 256, frame.u(), shortChroma, 256, 2, 60, output));
      checkThrows(IllegalArgumentException.class,
          () -> optimizer.optimize(frame.y(), 256, frame.u(), frame.v(), -256, 2, 60, output));
      checkThrows(IllegalArgumentException.class,
          () -> optimizer.optimize(frame.y(), 256, null, frame.v(), 256, 2, 60, output));
      optimizer.close();
      checkThrows(IllegalStateException.class, () -> frame.optimize(optimizer, output));
    }
    checkThrows(IllegalArgumentException.class, () -> new FrameOptimizer(WIDTH + 1, HEIGHT));
  }
}
