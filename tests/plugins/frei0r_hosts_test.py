"""The filter within FFmpeg and melt: the same frames from both."""

from support import HostTest

WIDTH, HEIGHT, FRAMES = 320, 184, 10
PROFILE = f"""description=The size of the clip
frame_rate_num=25
frame_rate_den=1
width={WIDTH}
height={HEIGHT}
progressive=1
sample_aspect_num=1
sample_aspect_den=1
display_aspect_num={WIDTH}
display_aspect_den={HEIGHT}
colorspace=601
"""


class Hosts(HostTest):
    TOOLS = ("ffmpeg", "melt")

    def setUp(self):
        super().setUp()
        self.path("profile").write_text(PROFILE)
        self.ffmpeg("-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r=25:d={FRAMES / 25}", "-vf",
                    "eq=brightness=-0.2", "-pix_fmt", "bgra", "-c:v", "ffv1", "clip.mkv")

    def with_ffmpeg(self, parameters):
        self.ffmpeg("-i", "clip.mkv", "-vf", f"frei0r=tlux:{parameters}", "-f", "rawvideo", "-pix_fmt", "rgba", "ffmpeg.raw")
        return self.read("ffmpeg.raw")

    def with_melt(self, *parameters, threads=0):
        self.run_tool("melt", "-silent", "-profile", self.path("profile"), "clip.mkv", "-filter", "frei0r.tlux", *parameters,
                           "-consumer", "avformat:melt.raw", "f=rawvideo", "vcodec=rawvideo", "pix_fmt=rgba",
                           "mlt_image_format=rgba", "an=1", f"real_time={-threads}")
        return self.read("melt.raw")

    def test_both_give_the_same(self):
        self.assertEqual(self.with_ffmpeg("0.6"), self.with_melt("strength=0.6"))
        self.assertEqual(self.with_ffmpeg("0.6|0.2|y"), self.with_melt("strength=0.6", "colour=0.2", "steady=1"))
        self.assertEqual(FRAMES * WIDTH * HEIGHT * 4, len(self.read("melt.raw")))

    def test_melt_with_many_threads_gives_the_same(self):
        self.assertEqual(self.with_melt("strength=0.6"), self.with_melt("strength=0.6", threads=4))

    def test_every_size_is_taken(self):
        for width, height in ((321, 181), (8, 8), (2050, 10)):
            with self.subTest(width=width, height=height):
                self.ffmpeg("-f", "lavfi", "-i", "testsrc=r=5:d=0.4", "-vf",
                            f"format=rgba,scale={width}:{height},frei0r=tlux:0.6", "-f", "rawvideo", "out.raw")
                self.assertEqual(2 * width * height * 4, len(self.read("out.raw")))
