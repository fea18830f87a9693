"""What tests of programs share: a folder for each, running tools in it, making and reading pictures and frames."""

import os
import shutil
import struct
import subprocess
import tempfile
import unittest
import zlib
from pathlib import Path

import numpy as np
import tlux

COMMAND = os.environ["TLUX_COMMAND"]
SOURCE_DIR = Path(os.environ["TLUX_SOURCE_DIR"])
USAGE, UNREADABLE, FAILED = 1, 2, 3  # exit codes of the command
PNG_KINDS = {1: 0, 2: 4, 3: 2, 4: 6}  # colour type of PNG by channels


class FolderTest(unittest.TestCase):
    """Each test works in a folder of its own, and is skipped without its tools unless TLUX_TOOLS_REQUIRED is set."""
    TOOLS = ()

    def setUp(self):
        missing = [tool for tool in self.TOOLS if shutil.which(tool) is None]
        if missing and not os.environ.get("TLUX_TOOLS_REQUIRED"):
            self.skipTest(f"{', '.join(missing)} missing: scripts/install_deps.sh test pipelines")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def path(self, name):
        return self.folder / name

    def run_tool(self, *command, timeout=120, **environment):
        """Runs a program, which must succeed; gives all that it said."""
        done = subprocess.run([str(word) for word in command], cwd=self.folder, timeout=timeout, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env={**os.environ, **environment})
        self.assertEqual(0, done.returncode, f"{command}\n{done.stdout}")
        return done.stdout

    def run_blocks(self, text):
        """Runs a block of shell commands with the command under test in the path."""
        path = f"{Path(COMMAND).parent}{os.pathsep}{os.environ['PATH']}"
        return subprocess.run(["sh", "-euc", text], cwd=self.folder, env={**os.environ, "PATH": path},
                              capture_output=True, text=True, timeout=300)


class CommandTest(FolderTest):
    def run_command(self, *arguments, **options):
        options = {"capture_output": True, "text": True, **options}
        return subprocess.run([COMMAND, *map(str, arguments)], cwd=self.folder, timeout=120, **options)

    def start_command(self, *arguments, **options):
        return subprocess.Popen([COMMAND, *map(str, arguments)], cwd=self.folder, **options)

    def assert_done(self, result, warnings=0):
        self.assertEqual((0, warnings), (result.returncode, result.stderr.count("\n")), result)

    def do(self, *arguments, warnings=0):
        """Runs the command, which must succeed; gives what it said."""
        result = self.run_command(*arguments)
        self.assert_done(result, warnings)
        return result

    def enhance(self, source, output, *options, warnings=0):
        return self.do("enhance", source, "-o", output, *options, warnings=warnings)

    def assert_fails(self, result, code, *mentions):
        """One line of error that names what it is about."""
        error = result.stderr if isinstance(result.stderr, str) else result.stderr.decode()
        self.assertEqual((code, 1), (result.returncode, error.count("\n")), result)
        self.assertTrue(error.startswith("tlux: "), result)
        for mention in mentions:
            self.assertIn(mention, error)

    def assert_each_fails(self, cases):
        """cases: code, arguments, mention. None leaves a file behind."""
        before = self.files()
        for code, arguments, mention in cases:
            with self.subTest(arguments=arguments):
                self.assert_fails(self.run_command(*arguments), code, mention)
                self.assertEqual(before, self.files())

    def files(self, folder="."):
        return sorted(path.name for path in self.path(folder).iterdir())

    def assert_only_files(self, *names):
        self.assertEqual(sorted(names), self.files())

    def assert_near(self, expected, actual, tolerance=0):
        self.assertLessEqual(difference(expected, actual).max(), tolerance)


def tool(*command, **options):
    """Runs a program, which must succeed; gives its standard output."""
    done = subprocess.run([str(word) for word in command], capture_output=True, timeout=120, **options)
    assert done.returncode == 0, (command, done.stderr)
    return done.stdout


def ffmpeg(*arguments):
    return tool("ffmpeg", "-v", "error", "-nostdin", "-y", *arguments)


def samples(data):
    return np.frombuffer(data, np.uint8) if isinstance(data, bytes) else np.asarray(data)


def difference(left, right):
    left, right = samples(left), samples(right)
    assert left.shape == right.shape, (left.shape, right.shape)
    return np.abs(left.astype(float) - right)


def chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))


def write_png(path, picture, extra=b""):
    """picture: H x W or H x W x channels, of 8 or 16 bits; extra: whole chunks after the header."""
    height, width, channels = np.atleast_3d(picture).shape
    depth = 8 * picture.itemsize
    header = struct.pack(">IIBBBBB", width, height, depth, PNG_KINDS[channels], 0, 0, 0)
    rows = b"".join(b"\0" + row.astype(f">u{depth // 8}").tobytes() for row in picture)
    path.write_bytes(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra + chunk(b"IDAT", zlib.compress(rows)) +
                     chunk(b"IEND", b""))
    return path


def scene(width, height):
    """RGB of a dark room with a bright window and some texture."""
    y, x = np.mgrid[:height, :width]
    in_window = (width // 3 < x) & (x < width * 2 // 3) & (height // 4 < y) & (y < height // 2)
    base = np.where(in_window, 215, 14 + 30 * x // width)
    noise = (x * 7 + y * 13) % 11
    return np.stack([base + noise, base + noise // 2, base], axis=2).astype(np.uint8)


def with_alpha(rgb):
    """The picture and a transparency of every kind."""
    y, x = np.mgrid[:rgb.shape[0], :rgb.shape[1]]
    return np.dstack([rgb, ((x * 5 + y) % 256).astype(np.uint8)])


PAM_KINDS = {"gray": "pgm", "rgb24": "ppm", "rgba": "pam"}


def pixels(path, layout="rgb24"):
    """The samples of a picture as an independent reader sees them: H x W, or with channels."""
    content = ffmpeg("-noautorotate", "-i", path, "-frames:v", 1, "-f", "image2pipe", "-c:v", PAM_KINDS[layout],
                     "-pix_fmt", layout, "-sws_flags", "bicubic+accurate_rnd+full_chroma_int", "-")
    if layout == "rgba":
        header, content = content.split(b"ENDHDR\n", 1)
        width, height = (int(header.split(word)[1].split()[0]) for word in (b"WIDTH", b"HEIGHT"))
    else:
        _, sides, _, content = content.split(b"\n", 3)
        width, height = map(int, sides.split())
    shape = (height, width) if layout == "gray" else (height, width, -1)
    return np.frombuffer(content, np.uint8).reshape(shape)


def gray(path):
    return pixels(path, "gray")


def size(path):
    return pixels(path, "gray").shape[::-1]


def with_exif_orientation(jpeg, value):
    tiff = b"II*\0" + struct.pack("<IHHHIHHI", 8, 1, 0x112, 3, 1, value, 0, 0)
    return jpeg[:2] + b"\xff\xe1" + struct.pack(">H", len(tiff) + 8) + b"Exif\0\0" + tiff + jpeg[2:]


def planes(frame, width, height, pitch=None):
    """Luma and pairs of chroma of a raw frame."""
    rows = np.frombuffer(frame, np.uint8).reshape(height * 3 // 2, pitch or width)[:, :width]
    return rows[:height], np.ascontiguousarray(rows[height:]).reshape(height // 2, width // 2, 2)


def by_library(frame, width, height, strength, layout="nv12", pitch=None, exact=True):
    """What the library makes of a raw frame; without gaps behind its rows."""
    with tlux.Stream(exact=exact) as stream:
        luma, chroma = stream.run(*planes(frame, width, height, pitch), strength=strength, layout=layout)
        return luma.tobytes() + chroma.tobytes()
