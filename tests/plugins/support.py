"""Running the hosts of the plug-ins, each in a folder of the test's own."""

import hashlib
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

DEBIAN_PYTHON = ("/usr/bin/python3", "-B")  # which the packages of GStreamer's bindings are for
DECODED_CLIP = "filesrc location=clip.mp4 ! qtdemux ! h264parse ! avdec_h264"


class HostTest(unittest.TestCase):
    """A test of programs, which is skipped where they are missing unless TLUX_TOOLS_REQUIRED is set."""
    TOOLS = ()

    @classmethod
    def setUpClass(cls):
        missing = [tool for tool in cls.TOOLS if shutil.which(tool) is None]
        if missing and not os.environ.get("TLUX_TOOLS_REQUIRED"):
            raise unittest.SkipTest(f"{', '.join(missing)} missing: scripts/install_deps.sh pipelines")

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def run_in_folder(self, *command, timeout=120, **environment):
        """Runs a command, which must succeed; gives what it said."""
        done = subprocess.run([str(word) for word in command], cwd=self.folder, timeout=timeout, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              env={**os.environ, **environment})
        self.assertEqual(0, done.returncode, f"{command}\n{done.stdout}")
        return done.stdout

    def ffmpeg(self, *arguments):
        return self.run_in_folder("ffmpeg", "-nostdin", "-y", "-loglevel", "error", *arguments)

    def launch(self, pipeline, **environment):
        return self.run_in_folder("gst-launch-1.0", "-q", *pipeline.split(), **environment)

    def make_clip(self, width, height, name="clip.mp4", color_range="tv"):
        """A dim clip of 20 frames."""
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={width}x{height}:r=25:d=0.8", "-vf",
                    f"eq=brightness=-0.2,scale=out_range={color_range}:out_color_matrix=bt709", "-pix_fmt", "yuv420p",
                    "-color_range", color_range, "-colorspace", "bt709", "-color_primaries", "bt709",
                    "-color_trc", "bt709", "-c:v", "libx264", name)

    def read(self, name):
        return (self.folder / name).read_bytes()

    def hash(self, name):
        content = self.read(name)
        self.assertTrue(content, f"{name} is empty")
        return hashlib.sha256(content).hexdigest()
