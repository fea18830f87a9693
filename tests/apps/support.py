"""What the tests of the command share: running it, making pictures, looking at pixels."""

import os
import struct
import subprocess
import tempfile
import unittest
import zlib
from pathlib import Path

COMMAND = os.environ["TLUX_COMMAND"]
GRAY, RGB, GRAY_ALPHA, RGBA = 0, 2, 4, 6  # PNG colour types
CHANNELS = {GRAY: 1, RGB: 3, GRAY_ALPHA: 2, RGBA: 4}


class CommandTest(unittest.TestCase):
    """Each test works in its own folder."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def path(self, name):
        return self.folder / name

    def run_command(self, *arguments, **options):
        return subprocess.run([COMMAND, *map(str, arguments)], cwd=self.folder,
                              capture_output=True, text=True, timeout=120, check=False, **options)

    def assert_done(self, result, warnings=0):
        self.assertEqual(0, result.returncode, result)
        self.assertEqual(warnings, result.stderr.count("\n"), result)

    def enhance(self, source, output, *options, warnings=0):
        """Runs the command, which must succeed; returns its output."""
        result = self.run_command("enhance", source, "-o", output, *options)
        self.assert_done(result, warnings)
        return result

    def assert_fails(self, result, code, *mentions):
        """One line of error that names what it is about."""
        self.assertEqual(code, result.returncode, result)
        self.assertEqual(1, result.stderr.count("\n"), result)
        self.assertTrue(result.stderr.startswith("tlux: "), result)
        for mention in mentions:
            self.assertIn(mention, result.stderr)

    def assert_only_files(self, *names):
        self.assertEqual(sorted(names), sorted(path.name for path in self.folder.iterdir()))


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write_png(path, rows, kind=RGB, depth=8, extra=b""):
    """rows: bytes of each row, samples of `depth` bits; extra: whole chunks after the header."""
    width = len(rows[0]) * 8 // depth // CHANNELS[kind]
    header = struct.pack(">IIBBBBB", width, len(rows), depth, kind, 0, 0, 0)
    data = zlib.compress(b"".join(b"\0" + bytes(row) for row in rows))
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra +
                     chunk(b"IDAT", data) + chunk(b"IEND", b""))
    return path


def scene(width, height):
    """RGB rows of a dark room with a bright window and some texture."""
    rows = []
    for y in range(height):
        row = bytearray()
        for x in range(width):
            in_window = width // 3 < x < width * 2 // 3 and height // 4 < y < height // 2
            base = 215 if in_window else 14 + 30 * x // width
            noise = (x * 7 + y * 13) % 11
            row += bytes((base + noise, base + noise // 2, base))
        rows.append(bytes(row))
    return rows


def ffmpeg(*arguments):
    command = ["ffmpeg", "-v", "error", "-nostdin", "-y", *map(str, arguments)]
    return subprocess.run(command, capture_output=True, check=True, timeout=120).stdout


def pixels(path, layout="rgb24"):
    """The samples of a picture as an independent reader sees them."""
    return ffmpeg("-noautorotate", "-i", path, "-frames:v", 1, "-f", "rawvideo", "-pix_fmt", layout,
                  "-sws_flags", "bicubic+accurate_rnd+full_chroma_int", "-")


def size(path):
    probe = ["ffprobe", "-v", "error", "-show_entries", "stream=width,height", "-of", "csv=p=0", path]
    text = subprocess.run(probe, capture_output=True, check=True, text=True, timeout=60).stdout
    return tuple(int(side) for side in text.strip().split(",")[:2])


def largest_difference(left, right):
    assert len(left) == len(right), (len(left), len(right))
    return max(abs(a - b) for a, b in zip(left, right))


def with_exif_orientation(jpeg, value):
    entry = struct.pack("<HHIHH", 0x112, 3, 1, value, 0)
    tiff = b"II*\0" + struct.pack("<IH", 8, 1) + entry + struct.pack("<I", 0)
    content = b"Exif\0\0" + tiff
    return jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(content) + 2) + content + jpeg[2:]
