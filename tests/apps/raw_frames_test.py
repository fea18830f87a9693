"""Raw frames leave the command exactly as the library leaves them."""

import os
import random
import subprocess
import unittest

from support import CommandTest, ffmpeg, scene, write_png

LIBRARY_RUN = os.environ["TLUX_LIBRARY_RUN"]


def raw_frame(width, height, pitch):
    """Smooth brightness with noise, coloured; bytes past the width are noise too."""
    noise = random.Random(width * height + pitch)
    frame = bytearray()
    for y in range(height):
        frame += bytes(min(255, 20 + 200 * x * y // (width * height) + noise.randrange(12))
                       for x in range(pitch))
    for _ in range(height // 2):
        frame += bytes(100 + noise.randrange(56) for _ in range(pitch))
    return bytes(frame)


def drop_padding(frame, width, pitch):
    return b"".join(frame[row:row + width] for row in range(0, len(frame), pitch))


def exchange_chroma(frame, luma_bytes):
    exchanged = bytearray(frame)
    exchanged[luma_bytes::2] = frame[luma_bytes + 1::2]
    exchanged[luma_bytes + 1::2] = frame[luma_bytes::2]
    return bytes(exchanged)


class RawFrames(CommandTest):
    def library_output(self, way, name, width, height, pitch, strength, source):
        output = self.path("library.raw")
        subprocess.run([LIBRARY_RUN, way, name, str(width), str(height), str(pitch), str(strength),
                        source, output], check=True, timeout=120)
        return drop_padding(output.read_bytes(), width, pitch)

    def test_equals_the_library_to_the_byte(self):
        frames = [("nv21", 320, 240, 320, 50), ("nv12", 320, 240, 384, 80), ("nv21", 66, 50, 67, 100),
                  ("nv12", 18, 16, 18, 30), ("nv21", 2, 2, 2, 50), ("nv21", 640, 360, 704, 0)]
        for name, width, height, pitch, strength in frames:
            with self.subTest(name=name, size=(width, height), pitch=pitch, strength=strength):
                source = self.path("in.raw")
                source.write_bytes(raw_frame(width, height, pitch))
                for way, options in (("natural", []), ("exact", ["--exact"])):
                    self.enhance(source, "out." + name, "-s", strength, "--size", f"{width}x{height}",
                                 "--format", name, "--pitch", pitch, *options)
                    actual = self.path("out." + name).read_bytes()
                    self.assertEqual(pitch * height * 3 // 2, len(actual))
                    expected = self.library_output(way, name, width, height, pitch, strength, source)
                    self.assertEqual(expected, drop_padding(actual, width, pitch), way)

    def test_rows_with_gaps_come_out_like_those_without(self):
        packed, padded = self.path("packed.raw"), self.path("padded.raw")
        for width, height in [(320, 240), (192, 108)]:
            frame = raw_frame(width, height, width + 64)
            padded.write_bytes(frame)
            packed.write_bytes(drop_padding(frame, width, width + 64))
            raw = ["--size", f"{width}x{height}", "--format", "nv21"]
            for options in ([], ["--exact"]):
                self.enhance(packed, "packed.nv21", *raw, *options)
                self.enhance(padded, "padded.nv21", *raw, *options, "--pitch", width + 64)
                self.assertEqual(self.path("packed.nv21").read_bytes(),
                                 drop_padding(self.path("padded.nv21").read_bytes(), width, width + 64))
            if height % 16 == 0:
                expected = self.library_output("run", "nv21", width, height, width, 30, packed)
                self.assertEqual(expected, self.path("packed.nv21").read_bytes())

    def test_pictures_are_optimized_like_frames_without_gaps(self):
        # Widths of whole blocks, but not of whole vectors of the converter.
        for width, height in [(80, 64), (112, 48), (128, 96)]:
            source = write_png(self.path("in.png"), scene(width, height))
            photo, frame = self.path("photo.jpg"), self.path("photo.nv12")
            ffmpeg("-i", source, "-pix_fmt", "yuvj420p", "-q:v", 1, photo)
            frame.write_bytes(ffmpeg("-i", photo, "-vf", "scale=in_range=pc:out_range=pc",
                                     "-f", "rawvideo", "-pix_fmt", "nv12", "-"))
            with self.subTest(size=(width, height)):
                self.enhance(photo, "out.nv12", "-s", 80, "--exact")
                expected = self.library_output("run", "nv12", width, height, width, 80, frame)
                # FFmpeg's decoder rounds otherwise than the command's.
                differences = [abs(a - b) for a, b in zip(expected, self.path("out.nv12").read_bytes(), strict=True)]
                self.assertLessEqual(max(differences), 12)
                self.assertLess(sum(differences) / len(differences), 1)

    def test_extension_chooses_the_order_of_chroma(self):
        width, height = 64, 48
        source = self.path("in.yuv")
        source.write_bytes(raw_frame(width, height, width))
        raw = ["--size", f"{width}x{height}", "--format", "nv21"]
        for output in ["out.nv21", "out.nv12", "out.raw"]:
            self.enhance(source, output, *raw)
        nv21 = self.path("out.nv21").read_bytes()
        self.assertEqual(nv21, self.path("out.raw").read_bytes())
        self.assertEqual(exchange_chroma(nv21, width * height), self.path("out.nv12").read_bytes())

    def test_odd_pictures_leave_as_even_frames(self):
        source = write_png(self.path("in.png"), scene(33, 21))
        result = self.enhance(source, "out.nv21")
        self.assertIn("out.nv21 34x22", result.stdout)
        self.assertEqual(34 * 22 * 3 // 2, self.path("out.nv21").stat().st_size)

    def test_folder_gets_the_raw_extension(self):
        for name in ("a.raw", "b.raw"):
            self.path(name).write_bytes(raw_frame(32, 32, 32))
        self.assert_done(self.run_command("enhance", "a.raw", "b.raw", "-d", "done", "--size", "32x32",
                                          "--format", "nv21"))
        self.assertEqual({"a.nv21", "b.nv21"}, {path.name for path in self.path("done").iterdir()})


if __name__ == "__main__":
    unittest.main()
