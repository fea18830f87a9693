"""Raw frames leave the command exactly as the library leaves them."""

import numpy as np
from programs import CommandTest, by_library, difference, ffmpeg, pixels, planes, scene, tlux, write_png


def raw_frame(width, height, pitch):
    """Smooth brightness with noise, coloured; whatever lies behind the width is noise too."""
    noise = np.random.default_rng(width * height + pitch)
    y, x = np.mgrid[:height, :pitch]
    luma = np.minimum(255, 20 + 200 * x * y // (width * height) + noise.integers(0, 12, x.shape))
    return np.vstack([luma, noise.integers(100, 156, (height // 2, pitch))]).astype(np.uint8).tobytes()


def drop_padding(frame, width, pitch):
    return np.frombuffer(frame, np.uint8).reshape(-1, pitch)[:, :width].tobytes()


class RawFrames(CommandTest):
    def test_equals_the_library_to_the_byte(self):
        frames = [("nv21", 320, 240, 320, 50), ("nv12", 320, 240, 384, 80), ("nv21", 66, 50, 67, 100),
                  ("nv12", 18, 16, 18, 30), ("nv21", 2, 2, 2, 50), ("nv21", 640, 360, 704, 0)]
        for name, width, height, pitch, strength in frames:
            frame = raw_frame(width, height, pitch)
            self.path("in.raw").write_bytes(frame)
            for exact in (False, True):
                with self.subTest(name=name, size=(width, height), pitch=pitch, exact=exact):
                    self.enhance("in.raw", "out." + name, "-s", strength, "--size", f"{width}x{height}",
                                 "--format", name, "--pitch", pitch, *["--exact"] * exact)
                    actual = self.path("out." + name).read_bytes()
                    self.assertEqual(len(frame), len(actual))
                    expected = by_library(frame, width, height, strength, name, pitch, exact)
                    self.assertEqual(expected, drop_padding(actual, width, pitch))

    def test_photos_are_optimized_like_the_frames_in_them(self):
        # Widths of whole blocks, but not of whole vectors of the converter.
        for width, height in [(80, 64), (112, 48), (128, 96)]:
            photo = self.path("photo.jpg")
            ffmpeg("-i", write_png(self.path("in.png"), scene(width, height)), "-pix_fmt", "yuvj420p", "-q:v", 1, photo)
            frame = ffmpeg("-i", photo, "-vf", "scale=in_range=pc:out_range=pc", "-f", "rawvideo",
                           "-pix_fmt", "nv12", "-")
            with self.subTest(size=(width, height)):
                self.enhance(photo, "out.nv12", "-s", 80, "--exact")
                # FFmpeg's decoder rounds otherwise than the command's.
                apart = difference(by_library(frame, width, height, 80), self.path("out.nv12").read_bytes())
                self.assertLessEqual(apart.max(), 12)
                self.assertLess(apart.mean(), 1)

    def test_extension_chooses_the_order_of_chroma(self):
        self.path("in.yuv").write_bytes(raw_frame(64, 48, 64))
        for output in ["out.nv21", "out.nv12", "out.raw", "out.png"]:
            self.enhance("in.yuv", output, "--size", "64x48", "--format", "nv21")
        nv21 = self.path("out.nv21").read_bytes()
        self.assertEqual(nv21, self.path("out.raw").read_bytes())
        luma, chroma = planes(nv21, 64, 48)
        self.assertEqual(luma.tobytes() + chroma[:, :, ::-1].tobytes(), self.path("out.nv12").read_bytes())
        self.assert_near(tlux.frame_to_rgb(luma, chroma, "nv21"), pixels(self.path("out.png")))

    def test_odd_pictures_leave_as_even_frames(self):
        picture = scene(33, 21)
        write_png(self.path("in.png"), picture)
        self.assertIn("out.nv12 34x22", self.enhance("in.png", "out.nv12", "-s", 40, "--exact").stdout)
        luma, chroma = tlux.rgb_to_frame(picture)
        self.assertEqual(by_library(luma.tobytes() + chroma.tobytes(), 34, 22, 40), self.path("out.nv12").read_bytes())

    def test_folder_gets_the_raw_extension(self):
        for name in ("a.raw", "b.raw"):
            self.path(name).write_bytes(raw_frame(32, 32, 32))
        self.do("enhance", "a.raw", "b.raw", "-d", "done", "--size", "32x32", "--format", "nv21")
        self.assertEqual(["a.nv21", "b.nv21"], self.files("done"))
