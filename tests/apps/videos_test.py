"""Videos keep everything but their pixels, and the pixels are what the library makes of them."""

import json

import numpy as np
import tlux
from programs import CommandTest, ffmpeg, planes, tool

WIDTH, HEIGHT, FRAMES = 96, 64, 12
TEST_VIDEO = ["-f", "lavfi", "-i", f"testsrc2=s={WIDTH}x{HEIGHT}:r=10:d={FRAMES / 10}"]
TEST_SOUND = ["-f", "lavfi", "-i", f"sine=d={FRAMES / 10}"]
BT709 = ["-color_primaries", "bt709", "-color_trc", "bt709", "-colorspace", "bt709"]


def probe(path):
    return json.loads(tool("ffprobe", "-v", "error", "-of", "json", "-show_format", "-show_streams", "-show_packets",
                           "-show_chapters", path))


def packets(path, stream):
    """The times and the hash of each packet, without whatever comes along with it."""
    lines = ffmpeg("-i", path, "-map", f"0:{stream}", "-c", "copy", "-f", "framemd5", "-")
    return [line.split(",")[1:6] for line in lines.decode().splitlines() if line[0] != "#"]


def frame_times(video):
    return sorted(int(packet["pts"]) for packet in video["packets"] if packet["stream_index"] == 0)


class VideoTest(CommandTest):
    def decoded(self, path):
        """The NV12 frames as stored in the file, without any change of range."""
        content = ffmpeg("-noautorotate", "-i", path, "-map", "0:v:0", "-vf", "scale=in_range=tv:out_range=tv",
                         "-vsync", "passthrough", "-f", "rawvideo", "-pix_fmt", "nv12", "-")
        return np.frombuffer(content, np.uint8).reshape(-1, WIDTH * HEIGHT * 3 // 2)

    def streams(self, name):
        return probe(self.path(name))["streams"]

    def codecs(self, name):
        return [stream["codec_name"] for stream in self.streams(name)]


class Frames(VideoTest):
    def test_are_those_of_the_library(self):
        for range_name, name in (("pc", "full"), ("tv", "limited")):
            source = self.path("in.mkv")
            ffmpeg(*TEST_VIDEO, "-vf", f"scale=out_range={range_name}:out_color_matrix=bt709", "-pix_fmt", "yuv420p",
                   "-color_range", range_name, "-colorspace", "bt709", "-c:v", "ffv1", source)
            for exact in (True, False):
                self.enhance(source, "out.mkv", "--codec", "ffv1", "-s", 70, *["--exact"] * exact)
                with tlux.Stream(exact=exact, range=name) as stream, self.subTest(range=name, exact=exact):
                    for before, after in zip(self.decoded(source), self.decoded(self.path("out.mkv")), strict=True):
                        luma, chroma = stream.run(*planes(before, WIDTH, HEIGHT), strength=70)
                        self.assert_near(np.concatenate([luma.ravel(), chroma.ravel()]), after)
                said = self.streams("out.mkv")[0]
                self.assertEqual((range_name, "bt709"), (said["color_range"], said["color_space"]))

    def test_every_layout_keeps_its_colors(self):
        """Strength 0 smooths a little; what is left of a plain colour is the conversions' work."""
        for layout in ("nv21", "yuv422p", "yuv444p10", "gray", "bgr0", "gbrp12", "yuv420p"):
            source = self.path("in.mkv")
            ffmpeg("-f", "lavfi", "-i", "color=0x6080a0:s=98x50:r=5:d=0.6", "-pix_fmt", layout,
                   "-c:v", "rawvideo" if layout == "nv21" else "ffv1", source)
            with self.subTest(layout=layout):
                self.enhance(source, "out.mkv", "--codec", "ffv1", "-s", 0, warnings=layout[-2:] in ("10", "12"))
                before, after = (ffmpeg("-i", path, "-frames:v", 1, "-f", "rawvideo", "-pix_fmt", "rgb24",
                                        "-sws_flags", "bicubic+accurate_rnd+full_chroma_int", "-")
                                 for path in (source, self.path("out.mkv")))
                self.assert_near(before, after, 5)

    def test_every_size_is_kept(self):
        for width, height in [(34, 18), (33, 17), (12, 10), (161, 91)]:
            ffmpeg("-f", "lavfi", "-i", "testsrc=s=320x240:r=5:d=0.6", "-vf", f"format=rgb24,scale={width}:{height}",
                   "-pix_fmt", "bgr0", "-c:v", "ffv1", self.path("in.mkv"))
            for output in ("out.mkv", "out.mp4", "out.webm", "out.y4m"):
                with self.subTest(size=(width, height), output=output):
                    self.enhance("in.mkv", output)
                    stream = self.streams(output)[0]
                    self.assertEqual((width, height), (stream["width"], stream["height"]))


class Surroundings(VideoTest):
    def make_clip(self, name, *options):
        ffmpeg(*TEST_VIDEO, *TEST_SOUND, "-pix_fmt", "yuv420p", "-c:a", "aac", "-shortest", *options, self.path(name))
        return self.path(name)

    def test_sound_and_times_are_kept_in_every_container(self):
        for name in ("clip.mp4", "clip.mov", "clip.mkv", "clip.avi", "clip.ts", "clip.flv"):
            source, output = self.make_clip(name), self.path("out-" + name)
            with self.subTest(name=name):
                self.enhance(source, output)
                sound = packets(source, "a")
                self.assertEqual(sound, packets(output, "a"))
                self.assertGreater(len(sound), 40)
                self.assertEqual(FRAMES, len(packets(output, "v")))
                before, after = probe(source), probe(output)
                rates = [{stream["codec_type"]: stream["avg_frame_rate"] for stream in video["streams"]}
                         for video in (before, after)]
                self.assertEqual(*rates)
                durations = [float(video["format"]["duration"]) for video in (before, after)]
                self.assertAlmostEqual(*durations, delta=0.25)

    def test_uneven_times_are_kept(self):
        source = self.path("in.mp4")
        ffmpeg(*TEST_VIDEO, "-vf", "settb=1/1000,setpts='(N*N+3*N)*10'", "-vsync", "vfr", "-pix_fmt", "yuv420p",
               "-video_track_timescale", 12800, *BT709, source)
        for output in ("out.mp4", "out.mov"):
            self.enhance(source, output)
            before, after = probe(source), probe(self.path(output))
            self.assertEqual(frame_times(before), frame_times(after))
            for key in ("time_base", "duration_ts", "color_primaries", "color_transfer", "color_space",
                        "sample_aspect_ratio"):
                self.assertEqual(before["streams"][0][key], after["streams"][0][key])

    def test_rotation_is_kept_or_applied(self):
        source = self.path("turned.mp4")
        ffmpeg("-i", self.make_clip("upright.mp4"), "-c", "copy", "-metadata:s:v", "rotate=90", source)
        for output, is_kept in (("out.mp4", True), ("out.mov", True), ("out.mkv", False), ("out.y4m", False)):
            with self.subTest(output=output):
                self.enhance(source, output, warnings=output == "out.y4m")
                stream = self.streams(output)[0]
                self.assertEqual((WIDTH, HEIGHT) if is_kept else (HEIGHT, WIDTH), (stream["width"], stream["height"]))
                if is_kept:
                    self.assertEqual(self.streams(source)[0]["side_data_list"], stream["side_data_list"])

    def test_everything_else_goes_along(self):
        self.path("words.srt").write_text("1\n00:00:00,100 --> 00:00:00,900\nHello\n")
        self.path("font.ttf").write_bytes(b"letters")
        self.path("chapters.txt").write_text(
            ";FFMETADATA1\n[CHAPTER]\nTIMEBASE=1/10\nSTART=0\nEND=5\ntitle=One\n"
            "[CHAPTER]\nTIMEBASE=1/10\nSTART=5\nEND=12\ntitle=Two\n")
        source = self.path("in.mkv")
        ffmpeg(*TEST_VIDEO, *TEST_SOUND, "-i", self.path("words.srt"), "-i", self.path("chapters.txt"), "-map", 0,
               "-map", 1, "-map", 2, "-pix_fmt", "yuv420p", "-c:v", "ffv1", "-c:a", "flac", "-c:s", "srt",
               "-metadata", "title=Night", "-metadata:s:a", "language=fra", "-disposition:a", "default+comment",
               "-attach", self.path("font.ttf"), "-metadata:s:t", "mimetype=application/x-truetype-font", source)
        self.enhance(source, "out.mkv")
        before, after = probe(source), probe(self.path("out.mkv"))
        self.assertEqual("Night", after["format"]["tags"]["title"])
        self.assertEqual(before["chapters"], after["chapters"])
        self.assertEqual("fra", after["streams"][1]["tags"]["language"])
        self.assertEqual(before["streams"][1]["disposition"], after["streams"][1]["disposition"])
        self.assertEqual(["h264", "flac", "subrip", "ttf"], self.codecs("out.mkv"))
        for stream in (1, 2):
            self.assertEqual(packets(source, stream), packets(self.path("out.mkv"), stream))
        # These take no fonts, the first not the sound either, and say so; they have text of their own kind.
        self.enhance(source, "out.webm", warnings=2)
        self.assertEqual(["vp9", "webvtt"], self.codecs("out.webm"))
        self.enhance(source, "there.mp4", warnings=1)
        self.assertIn("flac", self.codecs("there.mp4"))
        self.enhance("there.mp4", "back.mkv", warnings=1)  # of the text of its chapters
        times = set()
        for name, codec in (("in.mkv", "subrip"), ("there.mp4", "mov_text"), ("back.mkv", "ass")):
            self.assertIn(codec, self.codecs(name))
            _, time, text, *_ = ffmpeg("-i", self.path(name), "-map", "0:s", "-f", "srt", "-").decode().splitlines()
            self.assertIn("Hello", text)
            times.add(time)
        self.assertEqual(1, len(times), times)

    def test_depth_chroma_and_place_of_the_index(self):
        source = self.path("in.mkv")
        ffmpeg(*TEST_VIDEO, "-pix_fmt", "yuv420p10le", "-c:v", "ffv1", source)
        for options, layout, codec in (([], "yuv420p10le", "hevc"), (["--codec", "mpeg4"], "yuv420p", "mpeg4"),
                                       (["--chroma", "444", "--codec", "libx264", "--preset", "ultrafast"],
                                        "yuv444p10le", "h264")):
            self.assertIn("8", self.enhance(source, "out.mp4", *options, warnings=1).stderr)
            stream = self.streams("out.mp4")[0]
            self.assertEqual((layout, codec), (stream["pix_fmt"], stream["codec_name"]))
            content = self.path("out.mp4").read_bytes()
            self.assertLess(content.index(b"moov"), content.index(b"mdat"))
        self.assertIn("no presets", self.run_command("enhance", source, "-o", "out.mp4", "--codec", "mpeg4",
                                                     "--preset", "fast").stderr)

    def test_quality_and_codec_are_chosen(self):
        source = self.make_clip("in.mp4")
        sizes = []
        for quality in (20, 60, 95):
            self.enhance(source, "out.mp4", "--quality", quality)
            sizes.append(self.path("out.mp4").stat().st_size)
        self.assertEqual(sorted(set(sizes)), sizes)
        source = self.path("silent.mkv")
        ffmpeg(*TEST_VIDEO, "-r", 25, "-pix_fmt", "yuv420p", source)
        for output, options, codec in (("out.mp4", [], "h264"), ("out.webm", [], "vp9"), ("out.mpg", [], "mpeg2video"),
                                       ("out.mp4", ["--codec", "libx265"], "hevc")):
            self.enhance(source, output, *options)
            self.assertEqual([codec], self.codecs(output))

    def test_says_what_was_done(self):
        source = self.make_clip("in.mp4")
        result = self.enhance(source, "out.mkv", "-s", 30, "--timing", warnings=1)
        self.assertRegex(result.stdout, r"in.mp4 96x64 -> out.mkv, strength 30: 12 frames in [\d.]+ s"
                         r", [\d.]+ per second\n$")
        self.assertRegex(result.stderr, r"^tlux: \S*in.mp4: .*decode \d+ %, library \d+ %, "
                         r"encode \d+ % of the time\n$")
        self.assertEqual("", self.enhance(source, "out.mkv", "--quiet").stdout)
