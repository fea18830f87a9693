"""The plug-ins in their hosts give the frames of the command."""

import os
import unittest

from support import HostTest

COMMAND = os.environ["TLUX_COMMAND"]


class Command(HostTest):
    TOOLS = ("gst-launch-1.0", "ffmpeg")

    def setUp(self):
        super().setUp()
        if "--exact" not in self.run_in_folder(COMMAND, "enhance", "--help"):
            self.skipTest("this command does not go through the stream")

    def test_gives_the_frames_of_the_element(self):
        # Of a full range MP4 the demuxer of GStreamer 1.22 says that it is limited.
        cases = (("clip.mp4", "qtdemux", "tv", ["--exact", "-s", 45], "exact=true strength=45"),
                 ("clip.mp4", "qtdemux", "tv", [], ""),
                 ("clip.mkv", "matroskademux", "pc", ["-s", 60, "--steady", 3], "strength=60 steady=3"))
        for clip, demuxer, color_range, options, properties in cases:
            with self.subTest(range=color_range, properties=properties):
                self.make_clip(320, 180, clip, color_range)
                self.run_in_folder(COMMAND, "enhance", clip, "-o", "command.mkv", "--codec", "ffv1", *options)
                self.ffmpeg("-i", "command.mkv", "-vf", "scale=in_range=tv:out_range=tv", "-f", "rawvideo",
                            "-pix_fmt", "nv12", "command.raw")
                self.launch(f"filesrc location={clip} ! {demuxer} ! h264parse ! avdec_h264 ! videoconvert "
                            f"! tlux {properties} ! video/x-raw,format=NV12 ! filesink location=element.raw")
                self.assertEqual(self.hash("command.raw"), self.hash("element.raw"))

    def test_gives_the_gray_pictures_of_the_filter_within_a_code(self):
        """Of gray ones: each has its own way from RGB to NV12 and back, which gray does not notice."""
        self.make_clip(320, 184)
        self.ffmpeg("-i", "clip.mp4", "-frames:v", "1", "-vf", "format=gray,format=rgba", "clip.png")
        self.run_in_folder(COMMAND, "enhance", "clip.png", "-o", "command.png", "-s", "60")
        self.ffmpeg("-i", "command.png", "-f", "rawvideo", "-pix_fmt", "rgba", "command.raw")
        self.ffmpeg("-i", "clip.png", "-vf", "frei0r=tlux:0.6", "-f", "rawvideo", "-pix_fmt", "rgba", "filter.raw")
        filtered, commands = self.read("filter.raw"), self.read("command.raw")
        self.assertEqual(len(filtered), len(commands))
        self.assertLessEqual(max(abs(a - b) for a, b in zip(filtered, commands)), 1)


if __name__ == "__main__":
    unittest.main()
