"""The commands of docs/video-pipelines.md do what the page says, with a test picture for a camera, nothing for a screen
and servers of this machine's."""

import os
import re
import socket
import subprocess
from pathlib import Path

from programs import SOURCE_DIR
from support import DEBIAN_PYTHON, HostTest

PAGE = SOURCE_DIR / "docs/video-pipelines.md"
FRAMES = 30


def command_with(words):
    """The block of the page that holds the words."""
    blocks = re.findall(r"^```sh\n(.*?)^```$", PAGE.read_text(), re.MULTILINE | re.DOTALL)
    found = [block for block in blocks if words in block]
    assert len(found) == 1, f"{words}: {len(found)} blocks"
    return found[0]


def unused_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Pipelines(HostTest):
    TOOLS = ("gst-launch-1.0", "gst-inspect-1.0", "ffmpeg", "ffprobe", "melt")

    def setUp(self):
        super().setUp()
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=s=320x180:r=25:d={FRAMES / 25}", "-f", "lavfi", "-i",
                    f"sine=d={FRAMES / 25}", "-pix_fmt", "yuv420p", "clip.mp4")

    def run_block(self, words, *replacements):
        block = command_with(words)
        for old, new in replacements:
            self.assertIn(old, block)
            block = block.replace(old, new)
        return self.run_tool("sh", "-euc", block)

    def frame_counts(self, name):
        """The number of frames of each kind of stream, as decoded."""
        lines = self.run_tool("ffprobe", "-v", "error", "-count_frames", "-show_entries",
                              "stream=codec_type,nb_read_frames", "-of", "csv=p=0", name).split()
        return {kind: int(count) for kind, count in (line.split(",") for line in lines)}

    def test_paths_of_the_build(self):
        exports = [line for line in command_with("GST_PLUGIN_PATH=").splitlines() if line.startswith("export")]
        root = Path(os.environ["TLUX_BUILD_DIR"]).parents[1]
        script = "\n".join([f"cd {root}", *exports, "gst-inspect-1.0 tlux", 'ls "${FREI0R_PATH%%:*}/tlux.so"'])
        self.assertIn("strength", self.run_tool("sh", "-euc", script.replace(
            "build/release", str(Path(os.environ["TLUX_BUILD_DIR"]).relative_to(root)))))

    def test_components(self):
        for component, file in (("gstreamer", "gstreamer-1.0/libgsttlux.so"), ("frei0r", "frei0r-1/tlux.so")):
            self.run_tool("cmake", "--install", os.environ["TLUX_BUILD_DIR"], "--prefix", component,
                               "--component", component)
            installed = ["/".join(path.parts[-2:]) for path in (self.folder / component).rglob("*") if path.is_file()]
            self.assertEqual([file], installed)

    def test_file_to_file(self):
        self.run_block("better.mp4 \\\n")
        counts = self.frame_counts("better.mp4")
        self.assertEqual(FRAMES, counts["video"])
        self.assertGreater(counts["audio"], 0)

    def test_camera_to_screen(self):
        self.run_block("v4l2src", ("v4l2src", f"videotestsrc is-live=true num-buffers={FRAMES}"),
                       ("autovideosink", "fakevideosink"))

    def test_rtsp(self):
        # A pipeline waits for ever when the packet that ends a live stream is lost.
        for _ in range(3):
            if self.passes_on_rtsp():
                break
        else:
            self.fail("no pipeline ended")
        # The last ones may still be on their way when the pipeline ends.
        self.assertGreater(self.frame_counts("received.h264")["video"], FRAMES // 2)

    def passes_on_rtsp(self):
        port = unused_port()
        server = subprocess.Popen([*DEBIAN_PYTHON, Path(__file__).parent / "rtsp_server.py", str(port), str(FRAMES),
                                   self.folder / "received.h264"], stdout=subprocess.PIPE, text=True)
        try:
            self.assertEqual("ready\n", server.stdout.readline())
            said = self.run_block("rtspsrc", ("rtsp://camera/live", f"rtsp://127.0.0.1:{port}/live"),
                                  ("gst-launch-1.0", "timeout 40 gst-launch-1.0"),
                                  ("rtsp://server/better\n",
                                   f"rtsp://127.0.0.1:{port}/better && echo ended || [ $? -eq 124 ]\n"))
            return "ended" in said
        finally:
            server.terminate()
            server.communicate(timeout=20)

    def test_frei0r_hosts(self):
        self.run_block("ffmpeg -loglevel error")
        for name in ("better.mp4", "better-too.mp4"):
            self.assertEqual(FRAMES, self.frame_counts(name)["video"])
