"""The plug-ins in their hosts give the frames of the command."""

from programs import COMMAND
from support import HostTest


class Command(HostTest):
    TOOLS = ("gst-launch-1.0", "ffmpeg")

    def test_gives_the_frames_of_the_element(self):
        # Of a full range MP4 the demuxer of GStreamer 1.22 says that it is limited.
        cases = (("clip.mp4", "qtdemux", "tv", ["--exact", "-s", 45], "exact=true strength=45"),
                 ("clip.mp4", "qtdemux", "tv", [], ""),
                 ("clip.mkv", "matroskademux", "pc", ["-s", 60, "--steady", 3], "strength=60 steady=3"))
        for clip, demuxer, color_range, options, properties in cases:
            with self.subTest(range=color_range, properties=properties):
                self.make_clip(320, 180, clip, color_range)
                self.run_tool(COMMAND, "enhance", clip, "-o", "command.mkv", "--codec", "ffv1", *options)
                self.ffmpeg("-i", "command.mkv", "-vf", "scale=in_range=tv:out_range=tv", "-f", "rawvideo",
                            "-pix_fmt", "nv12", "command.raw")
                self.launch(f"filesrc location={clip} ! {demuxer} ! h264parse ! avdec_h264 ! videoconvert "
                            f"! tlux {properties} ! video/x-raw,format=NV12 ! filesink location=element.raw")
                self.assertEqual(self.read("command.raw"), self.read("element.raw"))

    def test_gives_the_pictures_of_the_filter(self):
        self.make_clip(321, 183)
        self.ffmpeg("-i", "clip.mp4", "-frames:v", "1", "-vf", "format=rgba", "clip.png")
        self.run_tool(COMMAND, "enhance", "clip.png", "-o", "command.png", "-s", "60")
        self.ffmpeg("-i", "command.png", "-f", "rawvideo", "-pix_fmt", "rgba", "command.raw")
        self.ffmpeg("-i", "clip.png", "-vf", "frei0r=tlux:0.6", "-f", "rawvideo", "-pix_fmt", "rgba", "filter.raw")
        self.assertEqual(self.read("command.raw"), self.read("filter.raw"))
