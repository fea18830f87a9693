"""Running the hosts of the plug-ins."""

from programs import FolderTest

DEBIAN_PYTHON = ("/usr/bin/python3", "-B")  # which the packages of GStreamer's bindings are for
DECODED_CLIP = "filesrc location=clip.mp4 ! qtdemux ! h264parse ! avdec_h264"


class HostTest(FolderTest):
    """Hosts of the plug-ins, with a dim clip to play."""

    def ffmpeg(self, *arguments):
        return self.run_tool("ffmpeg", "-nostdin", "-y", "-loglevel", "error", *arguments)

    def launch(self, pipeline, **environment):
        return self.run_tool("gst-launch-1.0", "-q", *pipeline.split(), **environment)

    def make_clip(self, width, height, name="clip.mp4", color_range="tv"):
        """A dim clip of 20 frames."""
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={width}x{height}:r=25:d=0.8", "-vf",
                    f"eq=brightness=-0.2,scale=out_range={color_range}:out_color_matrix=bt709", "-pix_fmt", "yuv420p",
                    "-color_range", color_range, "-colorspace", "bt709", "-color_primaries", "bt709",
                    "-color_trc", "bt709", "-c:v", "libx264", name)

    def read(self, name):
        content = self.path(name).read_bytes()
        self.assertTrue(content, f"{name} is empty")
        return content
