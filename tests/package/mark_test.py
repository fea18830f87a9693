"""The mark's picture: how it becomes planes, and how a build takes another one."""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(os.environ["TLUX_SOURCE_DIR"])
sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "scripts"))
import draw_mark  # noqa: E402
import mark_planes  # noqa: E402


def ffmpeg(*arguments):
    return subprocess.run(["ffmpeg", "-v", "error", *map(str, arguments)], check=True, stdout=subprocess.PIPE).stdout


class Mark(unittest.TestCase):
    def setUp(self):
        work = tempfile.TemporaryDirectory()
        self.addCleanup(work.cleanup)
        self.work = pathlib.Path(work.name)

    def draw(self, size):
        """A colourful picture whose rows use all filters of PNG."""
        path = self.work / f"{size}.png"
        ffmpeg("-f", "lavfi", "-i", f"testsrc2=size={size},format=rgba", "-frames:v", 1, "-pred", "mixed", path)
        return path

    def configure(self, mark):
        return subprocess.run(
            ["cmake", "-S", SOURCE, "-B", self.work / "build", "-G", "Ninja", f"-DTLUX_MARK={mark}",
             "-DTLUX_BUILD_TESTS=OFF"], capture_output=True, text=True)

    def test_planes_in_the_tree_are_those_of_the_picture(self):
        picture = SOURCE / "src/engine/mark.png"
        self.assertEqual([bytes(row) for row in mark_planes.read(picture)],
                         [bytes(v for pixel in row for v in pixel) for row in draw_mark.drawing()])
        planes = subprocess.run([SOURCE / "scripts/mark_planes.py", picture], check=True, capture_output=True, text=True)
        self.assertEqual(planes.stdout, (SOURCE / "src/engine/mark_planes.cpp").read_text())

    def test_any_filter_is_read(self):
        picture = self.draw("102x32")
        expected = ffmpeg("-i", picture, "-f", "rawvideo", "-pix_fmt", "rgba", "-")
        self.assertEqual(b"".join(mark_planes.read(picture)), expected)

    def test_a_build_takes_a_picture_of_its_own(self):
        picture = self.draw("102x32")
        result = self.configure(picture)
        self.assertEqual(result.returncode, 0, result.stderr)
        planes = (self.work / "build/src/engine/mark_planes.cpp").read_text()
        self.assertNotEqual(planes, (SOURCE / "src/engine/mark_planes.cpp").read_text())
        ninja = (self.work / "build/build.ninja").read_text()
        self.assertNotIn(str(SOURCE / "src/engine/mark_planes.cpp"), ninja)

    def test_a_picture_of_another_size_is_refused(self):
        result = self.configure(self.draw("64x32"))
        self.assertNotEqual(result.returncode, 0)
        self.assertIn("not a PNG of 102 x 32 pixels, 8-bit RGBA", result.stderr)


if __name__ == "__main__":
    unittest.main()
